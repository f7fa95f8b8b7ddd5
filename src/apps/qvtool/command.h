#pragma once

#include "toollogger.h"

#include <QCommandLineParser>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

#include <optional>
#include <vector>

namespace qvtool {

class Call;
class Input;

/** How a call ends; with 128 and its number, if a signal ended it. */
enum ExitCode {
    Success = 0,
    JobFailed = 1,
    WrongUsage = 2,
    IsNot = 3, ///< "parse": a text is no address
    IsLess = 3,
    IsGreater = 4
};

/** One that begins with "[" may be missing, one with "..." in it be there more than once. */
struct Argument
{
    const char* name;
    const char* text;
};

struct Option
{
    const char* name;
    const char* value; ///< what it takes, as the help calls it; null for nothing
    const char* text;
    const char* preset = "";
};

using Options = std::vector<Option>;

/** All there is to say of a command: its help, its man page and the completions are made of it. */
struct Command
{
    const char* name;
    const char* summary;
    std::vector<Argument> arguments;
    Options options;
    int (*run)(Call& call);     ///< its exit code
    const char* exitCodes = ""; ///< what they mean, where that is not the usual
};

/** For commands whose result is data; see Call::Report(). */
constexpr Option jsonOption = {"json", nullptr, "Print each result as a line of JSON."};

/** Two lists of options in one. */
Options operator+(Options options, const Options& more);

/** What every command takes beside its own options. */
const Options& CommonOptions();

/** The command behind @p arguments, which begin behind its name. Returns its exit code. */
int Execute(const Command& command, const QStringList& arguments);

/**
 * One call of a command: its checked arguments, and how it tells what came out.
 *
 * The first thing that is wrong with the arguments is kept: a command reads all it needs, then asks
 * once whether IsRejected().
 */
class Call
{
public:
    Call(const Command& command, const QStringList& arguments, ToolLogger& log);

    bool Has(const QString& option) const { return parser_.isSet(option); }
    QString Text(const QString& option) const { return parser_.value(option); }
    QStringList Positionals() const { return parser_.positionalArguments(); }
    QString Positional(int index) const { return Positionals().value(index); }
    bool IsQuiet() const { return Has("quiet"); }

    /** A whole number; unless told otherwise, one that is good for seconds. */
    qint64 Number(const QString& option, qint64 minimum, qint64 maximum = 2147483);
    /** So many hexadecimal digits, or empty if the option was not given. */
    QString Digest(const QString& option, int digits);
    /** Every use of the option, split at the first "=". */
    QList<QPair<QString, QString>> Pairs(const QString& option);
    /** The same; no name may come twice. */
    QList<QPair<QString, QString>> UniquePairs(const QString& option,
                                               Qt::CaseSensitivity sensitivity);
    /** The first argument as an absolute http or https address. */
    QUrl HttpUrl();

    void Reject(const QString& reason);
    bool IsRejected() const { return !rejection_.isEmpty(); }
    /** Tells what is wrong with the arguments. Returns the exit code, like all the following. */
    int Rejection() const;

    /** Tells why the job failed. */
    int Fail(const QString& reason) const;
    /** Tells what a signal left undone. */
    int Interrupted(const QString& state) const;
    /** Reads standard input to its end; an exit code if that failed. */
    std::optional<int> ReadInput(QByteArray& text) const;
    /** An exit code if the input did not end as it should. */
    std::optional<int> InputProblem(const Input& input) const;
    /** Prints the result: @p text, or @p data, if that is asked for. */
    int Report(const QString& text, const QJsonObject& data) const;
    /** The same, where the text is not what the user wanted to have: nothing, if it is to be quiet. */
    int Summarise(const QString& text, const QJsonObject& data) const;
    /** The end of a job whose output was @p written, or not. */
    int Written(bool written, int code = Success) const;

    /** Tells something beside the result, unless it is to be quiet. */
    void Note(const QString& text) const;

    ToolLogger& Log() const { return log_; }

private:
    void Tell(const QString& text) const;
    void CheckPositionals();
    void SetUpLog();

    const Command& command_;
    ToolLogger& log_;
    QCommandLineParser parser_;
    QString rejection_;
};

} // namespace qvtool
