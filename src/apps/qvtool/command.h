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

/** One that begins with "[" may be missing, one with "..." in it be there more than once. */
struct Argument
{
    const char* name;
    const char* text;
};

using Options = QList<QCommandLineOption>;

/** A command; its help is made of this. */
struct Command
{
    const char* name;
    const char* summary;
    std::vector<Argument> arguments;
    Options options;
    int (*run)(Call& call);     ///< its exit code
    const char* exitCodes = ""; ///< lines about those that only it has
};

/** For commands whose result is data; see Call::Report(). */
inline const QCommandLineOption jsonOption = {"json", "Print each result as a line of JSON."};

extern const Command downloadCommand;
extern const Command getCommand;
extern const Command postCommand;
extern const Command copyCommand;
extern const Command removeCommand;
extern const Command parseCommand;
extern const Command encryptCommand;
extern const Command decryptCommand;
extern const Command compareCommand;
extern const Command deviceIdCommand;
extern const Command revealCommand;
extern const Command idleCommand;
extern const Command demoCommand;

/** The part of a help that is about these; @p own are lines about those of one command only. */
QString ExitCodes(const char* own);

/** The command behind @p arguments, which begin behind its name. Returns its exit code. */
int Execute(const Command& command, const QStringList& arguments);

/** One call of a command: its checked arguments, and how it tells what came out. */
class Call
{
public:
    Call(const Command& command, const QStringList& arguments);

    /** What there is to say of the command, for people. */
    QString Help();

    bool Has(const QString& option) const { return parser_.isSet(option); }
    QString Text(const QString& option) const { return parser_.value(option); }
    QStringList Positionals() const { return parser_.positionalArguments(); }
    QString Positional(int index) const { return Positionals().value(index); }
    bool IsQuiet() const { return Has("quiet"); }

    /** A whole number; unless told otherwise, one that is good for seconds. */
    qint64 Number(const QString& option, qint64 minimum, qint64 maximum = 2147483) const;
    /** So many hexadecimal digits, or empty if the option was not given. */
    QString Digest(const QString& option, int digits) const;
    /** Every use of the option, split at the first "="; where names are unique, none comes twice. */
    QList<QPair<QString, QString>> Pairs(const QString& option,
                                         std::optional<Qt::CaseSensitivity> unique = {}) const;
    /** The first argument as an absolute http or https address. */
    QUrl HttpUrl() const;

    /** Prints the result: @p text, or @p data, if that is asked for. */
    void Report(const QString& text, const QJsonObject& data) const;
    /** The same, where the text is not what the user wanted to have: nothing, if it is to be quiet. */
    void Summarise(const QString& text, const QJsonObject& data) const;
    /** Tells what went wrong. */
    void Complain(const QString& text) const;
    /** Tells something beside the result, unless it is to be quiet. */
    void Note(const QString& text) const;

    /** Tells who sits at a terminal what to type. */
    void AskFor(const QString& input) const;

    ToolLogger& Log() { return log_; }

private:
    void CheckPositionals() const;
    void SetUpLog();

    const Command& command_;
    ToolLogger log_;
    QCommandLineParser parser_;
};

} // namespace qvtool
