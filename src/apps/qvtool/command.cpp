#include "command.h"

#include "console.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>

#include <unistd.h>

namespace qvtool {

using common::logger::IMessage;

namespace {

const QStringList levelNames = {"emerg", "alert",  "crit", "error",
                                "warn",  "notice", "info", "debug"};

// What every command takes beside its own options.
const Options commonOptions = {
    {"quiet", "Print only errors and data: no progress, notes or summaries."},
    {"log",
     "Write the library's log to standard error, up to LEVEL: emerg, alert, crit, error, warn, "
     "notice, info or debug.",
     "LEVEL"},
    {"log-file", "Append the log to FILE as well, up to the level of --log (default: debug).",
     "FILE"},
    {"log-config", "Write the log as the log4cpp property file FILE says.", "FILE"},
    {{"h", "help"}, "Show this help."},
};

} // namespace

QString ExitCodes(const char* own)
{
    return QString("\nExit codes:\n  0 success, 1 the job failed, 2 wrong usage,\n") + own +
           "  128 plus the number of the signal that ended it.\n";
}

int Execute(const Command& command, const QStringList& arguments)
{
    try {
        Call call(command, arguments);
        if (call.Has("help")) {
            Print(call.Help().toUtf8());
            return Success;
        }
        return command.run(call);
    } catch (const Failure& failure) {
        const QString hint = QString(" (see 'qvtool help %1')").arg(command.name);
        PrintError(QString("qvtool %1: ").arg(command.name) + failure.reason +
                   (failure.code == WrongUsage ? hint : QString()));
        return failure.code;
    }
}

Call::Call(const Command& command, const QStringList& arguments) : command_(command)
{
    parser_.addOptions(command.options + commonOptions);
    if (!parser_.parse(QStringList(command.name) + arguments))
        Reject(parser_.errorText());
    if (!Has("help")) {
        CheckPositionals();
        SetUpLog();
    }
}

QString Call::Help()
{
    QString usage = QString("Usage: qvtool %1 [OPTION...]").arg(command_.name);
    for (const Argument& argument : command_.arguments) {
        usage += QString(' ') + argument.name;
        parser_.addPositionalArgument(argument.name, argument.text);
    }
    parser_.setApplicationDescription(command_.summary);
    const QString text = parser_.helpText(); // its first line has the path of the program
    return usage + text.mid(text.indexOf('\n')) + ExitCodes(command_.exitCodes);
}

// Those that are too many are not repeated: a secret may be among them.
void Call::CheckPositionals() const
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
            Reject(
                QString("--log takes one of %1, not '%2'").arg(levelNames.join(", "), Text("log")));
        level = static_cast<IMessage::Priority>(index);
        log_.SetLevel(level);
    }
    if (Has("log-file")) {
        QFile file(Text("log-file")); // log4cpp would not say that it cannot open it
        if (!file.open(QIODevice::Append))
            Reject(QString("cannot write the log to '%1': %2")
                       .arg(file.fileName(), file.errorString()));
        log_.WriteToFile(file.fileName(), level);
    }
    const QString config = Text("log-config");
    if (Has("log-config") && (!QFileInfo(config).isFile() || !log_.WriteAsConfigured(config)))
        Reject(QString("'%1' is not a property file that log4cpp can use").arg(config));
}

qint64 Call::Number(const QString& option, qint64 minimum, qint64 maximum) const
{
    bool ok = false;
    const qint64 value = Text(option).toLongLong(&ok);
    if (!ok || value < minimum || value > maximum)
        Reject(QString("--%1 takes a whole number from %2 to %3, not '%4'")
                   .arg(option, QString::number(minimum), QString::number(maximum), Text(option)));
    return value;
}

QString Call::Digest(const QString& option, int digits) const
{
    static const QRegularExpression hexadecimal("\\A[0-9A-Fa-f]+\\z");
    const QString value = Text(option);
    if (Has(option) && (value.size() != digits || !hexadecimal.match(value).hasMatch()))
        Reject(QString("--%1 takes %2 hexadecimal digits, not '%3'")
                   .arg(option, QString::number(digits), value));
    return value;
}

QList<QPair<QString, QString>> Call::Pairs(const QString& option,
                                           std::optional<Qt::CaseSensitivity> unique) const
{
    QList<QPair<QString, QString>> pairs;
    QStringList names;
    for (const QString& text : parser_.values(option)) {
        const int at = text.indexOf('=');
        const QString name = text.left(at);
        if (at <= 0)
            Reject(QString("--%1 takes NAME=VALUE, not '%2'").arg(option, text));
        if (unique && names.contains(name, *unique))
            Reject(QString("--%1 is given twice for '%2'").arg(option, name));
        names << name;
        pairs << qMakePair(name, text.mid(at + 1));
    }
    return pairs;
}

QUrl Call::HttpUrl() const
{
    const QString text = Positional(0);
    const QUrl url(text, QUrl::StrictMode);
    if ((url.scheme() != "http" && url.scheme() != "https") || url.host().isEmpty())
        Reject(QString("'%1' is not an HTTP address: it must begin with http:// or https://")
                   .arg(text));
    return url;
}

void Call::Report(const QString& text, const QJsonObject& data) const
{
    Print((Has("json") ? QJsonDocument(data).toJson(QJsonDocument::Compact) : text.toUtf8()) +
          '\n');
}

void Call::Summarise(const QString& text, const QJsonObject& data) const
{
    if (!IsQuiet() || Has("json"))
        Report(text, data);
}

void Call::Complain(const QString& text) const
{
    PrintError(QString("qvtool %1: %2").arg(command_.name, text));
}

void Call::Note(const QString& text) const
{
    if (!IsQuiet())
        Complain(text);
}

void Call::AskFor(const QString& input) const
{
    if (isatty(STDIN_FILENO) == 1)
        Note(QString("type %1, then Ctrl-D on a new line").arg(input));
}

} // namespace qvtool
