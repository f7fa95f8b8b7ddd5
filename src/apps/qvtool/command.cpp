#include "command.h"

#include "commands.h"
#include "console.h"

#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>

namespace qvtool {

using common::logger::IMessage;

namespace {

const QStringList levelNames = {"emerg", "alert",  "crit", "error",
                                "warn",  "notice", "info", "debug"};

} // namespace

Options operator+(Options options, const Options& more)
{
    options.insert(options.end(), more.begin(), more.end());
    return options;
}

const Options& CommonOptions()
{
    static const Options options = {
        {"quiet", nullptr, "Print only errors and data: no progress, notes or summaries."},
        {"log", "LEVEL",
         "Write the library's log to standard error, up to LEVEL: emerg, alert, crit, error, warn, "
         "notice, info or debug."},
        {"log-file", "FILE",
         "Append the log to FILE as well, up to the level of --log (default: debug)."},
        {"log-config", "FILE", "Write the log as the log4cpp property file FILE says."},
        {"help", nullptr, "Show this help."},
    };
    return options;
}

int Execute(const Command& command, const QStringList& arguments)
{
    ToolLogger log;
    Call call(command, arguments, log);
    if (!call.IsRejected() && call.Has("help"))
        return call.Written(Print(stdout, HelpText(&command)));
    if (call.IsRejected())
        return call.Rejection();
    CatchSignals();
    return command.run(call);
}

Call::Call(const Command& command, const QStringList& arguments, ToolLogger& log)
    : command_(command), log_(log)
{
    for (const Option& option : command.options + CommonOptions()) {
        const bool isHelp = qstrcmp(option.name, "help") == 0;
        const QStringList names = isHelp ? QStringList{option.name, "h"} : QStringList(option.name);
        parser_.addOption({names, option.text, option.value, option.preset});
    }
    if (!parser_.parse(QStringList(command.name) + arguments))
        Reject(parser_.errorText());
    else if (!Has("help")) {
        CheckPositionals();
        SetUpLog();
    }
}

// Those that are too many are not repeated: a secret may be among them.
void Call::CheckPositionals()
{
    const int given = Positionals().size();
    int expected = 0;
    bool isList = false;
    for (const Argument& argument : command_.arguments) {
        const QString name = argument.name;
        if (expected++ == given && !name.startsWith('['))
            Reject(QString(name).remove("...") + " is missing");
        isList = isList || name.contains("...");
    }
    if (given > expected && !isList)
        Reject(Counted(given - expected, "argument", "arguments") + " too many");
}

void Call::SetUpLog()
{
    auto level = IMessage::NOTSET;
    if (Has("log")) {
        const int index = levelNames.indexOf(Text("log").toLower());
        if (index < 0)
            return Reject(
                QString("--log takes one of %1, not '%2'").arg(levelNames.join(", "), Text("log")));
        level = static_cast<IMessage::Priority>(index);
        log_.SetLevel(level);
    }
    QFile file(Text("log-file")); // log4cpp would not say that it cannot open it
    if (Has("log-file") && !file.open(QIODevice::Append))
        return Reject(
            QString("cannot write the log to '%1': %2").arg(file.fileName(), file.errorString()));
    if (Has("log-file"))
        log_.WriteToFile(file.fileName(), level);
    QString error;
    const QString config = Text("log-config");
    if (Has("log-config") && ReadFile(config, error).isEmpty() && !error.isEmpty())
        Reject(error);
    else if (Has("log-config") && !log_.WriteAsConfigured(config))
        Reject(QString("'%1' is not a property file that log4cpp can use").arg(config));
}

qint64 Call::Number(const QString& option, qint64 minimum, qint64 maximum)
{
    bool ok = false;
    const qint64 value = Text(option).toLongLong(&ok);
    if (ok && value >= minimum && value <= maximum)
        return value;
    Reject(QString("--%1 takes a whole number from %2 to %3, not '%4'")
               .arg(option, QString::number(minimum), QString::number(maximum), Text(option)));
    return minimum;
}

QString Call::Digest(const QString& option, int digits)
{
    static const QRegularExpression hexadecimal("\\A[0-9A-Fa-f]+\\z");
    const QString value = Text(option);
    if (Has(option) && (value.size() != digits || !hexadecimal.match(value).hasMatch()))
        Reject(QString("--%1 takes %2 hexadecimal digits, not '%3'")
                   .arg(option, QString::number(digits), value));
    return value;
}

QList<QPair<QString, QString>> Call::Pairs(const QString& option)
{
    QList<QPair<QString, QString>> pairs;
    for (const QString& text : parser_.values(option)) {
        const int at = text.indexOf('=');
        if (at <= 0)
            Reject(QString("--%1 takes NAME=VALUE, not '%2'").arg(option, text));
        pairs << qMakePair(text.left(at), text.mid(at + 1));
    }
    return pairs;
}

QList<QPair<QString, QString>> Call::UniquePairs(const QString& option,
                                                 Qt::CaseSensitivity sensitivity)
{
    const auto pairs = Pairs(option);
    QStringList names;
    for (const auto& pair : pairs) {
        if (names.contains(pair.first, sensitivity))
            Reject(QString("--%1 is given twice for '%2'").arg(option, pair.first));
        names << pair.first;
    }
    return pairs;
}

QUrl Call::HttpUrl()
{
    const QString text = Positional(0);
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid())
        Reject(QString("'%1' is not a valid URL").arg(text));
    else if (url.scheme() != "http" && url.scheme() != "https")
        Reject(QString("'%1' is not an HTTP address: it must begin with http:// or https://")
                   .arg(text));
    else if (url.host().isEmpty())
        Reject(QString("'%1' names no host").arg(text));
    return url;
}

void Call::Reject(const QString& reason)
{
    if (rejection_.isEmpty())
        rejection_ = reason;
}

int Call::Rejection() const
{
    Tell(QString("%1 (see 'qvtool help %2')").arg(rejection_, command_.name));
    return WrongUsage;
}

int Call::Fail(const QString& reason) const
{
    Tell(reason);
    return JobFailed;
}

int Call::Interrupted(const QString& state) const
{
    Tell("interrupted: " + state);
    return 128 + SignalThatCame();
}

std::optional<int> Call::ReadInput(QByteArray& text) const
{
    Input input;
    text = input.TakeAll();
    return InputProblem(input);
}

std::optional<int> Call::InputProblem(const Input& input) const
{
    if (SignalThatCame() != 0)
        return Interrupted("the input was not read to its end");
    if (!input.Error().isEmpty())
        return Fail("cannot read standard input: " + input.Error());
    return std::nullopt;
}

int Call::Report(const QString& text, const QJsonObject& data) const
{
    if (Has("json"))
        return Written(
            PrintBytes(stdout, QJsonDocument(data).toJson(QJsonDocument::Compact) + '\n'));
    return Written(PrintLine(stdout, text));
}

int Call::Summarise(const QString& text, const QJsonObject& data) const
{
    return IsQuiet() && !Has("json") ? Success : Report(text, data);
}

int Call::Written(bool written, int code) const
{
    return written ? code : Fail("cannot write to standard output");
}

void Call::Note(const QString& text) const
{
    if (!IsQuiet())
        Tell(text);
}

void Call::Tell(const QString& text) const
{
    PrintError(QString("qvtool %1: %2").arg(command_.name, text));
}

} // namespace qvtool
