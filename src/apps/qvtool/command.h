#pragma once

#include "arguments.h"
#include "toollogger.h"

#include <QCommandLineParser>
#include <QObject>
#include <QStringList>

#include <optional>

namespace qvtool {

class Input;

enum ExitCode { Success = 0, JobFailed = 1, WrongUsage = 2 };

/** One command of the tool: reads its arguments, runs in the event loop, ends with an exit code. */
class Command : public QObject
{
    Q_OBJECT

public:
    /** @param log the current logger; not owned */
    Command(const QString& name, const QString& summary, ToolLogger& log);

    QString Name() const { return name_; }
    QString Summary() const { return summary_; }

    /** Runs the command to its end; @p arguments begin behind its name. */
    int Execute(const QStringList& arguments);

protected:
    /** Adds what is particular to this command; --help and --log are there already. */
    virtual void Declare(QCommandLineParser& parser) = 0;
    /** Takes over the arguments. What is wrong with them is said through Arguments::Fail(). */
    virtual void Configure(Arguments& arguments) = 0;
    /** Begins the work, which ends with Finish(). */
    virtual void Start() = 0;
    /** Stops the work at once and cleans up; returns what to tell the user. */
    virtual QString Stop() = 0;

    void Finish(ExitCode code);
    /** Finishes with success, or, if the result could not be written, says so. */
    void FinishWritten(bool written);
    /** Says what went wrong in one line and finishes. */
    void Fail(const QString& message);
    void PrintError(const QString& message);
    /** Begins to read standard input; that it cannot be read ends the command. */
    Input* ReadInput();

    ToolLogger& Log() const { return log_; }

private:
    std::optional<int> Parse(const QStringList& arguments);
    void SetUpLog(Arguments& arguments);
    void SetUpLogConfig(Arguments& arguments);
    void SetUpLogFile(Arguments& arguments, common::logger::IMessage::Priority level);

    QString name_;
    QString summary_;
    ToolLogger& log_;
    std::optional<ExitCode> code_;
};

} // namespace qvtool
