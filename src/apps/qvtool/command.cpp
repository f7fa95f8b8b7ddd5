#include "command.h"

#include "input.h"
#include "interrupt.h"
#include "text.h"

#include <QCoreApplication>
#include <QFile>
#include <QTimer>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace qvtool {

using common::logger::IMessage;

namespace {

const auto logOption = QStringLiteral("log");
const auto logFileOption = QStringLiteral("log-file");
const auto logConfigOption = QStringLiteral("log-config");

const char* const levelNames[] = {"emerg", "alert",  "crit", "error",
                                  "warn",  "notice", "info", "debug"};

QStringList LevelNames()
{
    QStringList names;
    for (const char* name : levelNames)
        names << QString::fromLatin1(name);
    return names;
}

QString HelpText(const QCommandLineParser& parser, const QString& command)
{
    QString text = parser.helpText();
    const int usageEnd = text.indexOf(QLatin1Char('\n'));
    const QString program = QCoreApplication::arguments().constFirst();
    return text.left(usageEnd).replace(program, QStringLiteral("qvtool ") + command) +
           text.mid(usageEnd);
}

} // namespace

Command::Command(const QString& name, const QString& summary, ToolLogger& log)
    : name_(name), summary_(summary), log_(log)
{
}

int Command::Execute(const QStringList& arguments)
{
    if (const auto code = Parse(arguments))
        return *code;

    Interrupt interrupt;
    connect(&interrupt, &Interrupt::interrupted, this, [this] {
        if (code_)
            return;
        PrintError(QStringLiteral("interrupted: ") + Stop());
        Finish(JobFailed);
    });
    QTimer::singleShot(0, this, [this] {
        if (!code_)
            Start();
    });
    return QCoreApplication::exec();
}

// An exit code if there is nothing to run.
std::optional<int> Command::Parse(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(summary_);
    const auto help = QStringLiteral("help");
    const auto version = parser.addVersionOption();
    parser.addOption({{QStringLiteral("h"), help}, QStringLiteral("Displays this help.")});
    parser.addOption({logOption,
                      QStringLiteral("Write the library's log to standard error, up to LEVEL: %1.")
                          .arg(LevelNames().join(QStringLiteral(", "))),
                      QStringLiteral("LEVEL")});
    parser.addOption({logFileOption,
                      QStringLiteral("Write the log to the end of FILE, too; up to debug, if --log "
                                     "does not say otherwise."),
                      QStringLiteral("FILE")});
    parser.addOption({logConfigOption,
                      QStringLiteral("Write the log where the log4cpp property file FILE says."),
                      QStringLiteral("FILE")});
    Declare(parser);

    const bool parsed = parser.parse(QStringList(name_) + arguments);
    if (parsed && parser.isSet(help))
        return Print(stdout, HelpText(parser, name_)) ? Success : JobFailed;
    if (parsed && parser.isSet(version))
        return PrintLine(stdout, VersionText()) ? Success : JobFailed;

    Arguments checked(parser);
    if (!parsed)
        checked.Fail(parser.errorText());
    else {
        SetUpLog(checked);
        Configure(checked);
    }
    if (checked.Error().isEmpty())
        return std::nullopt;
    PrintError(checked.Error() + QStringLiteral(" (see 'qvtool %1 --help')").arg(name_));
    return WrongUsage;
}

void Command::SetUpLog(Arguments& arguments)
{
    auto level = IMessage::NOTSET;
    if (arguments.Has(logOption)) {
        const int index = LevelNames().indexOf(arguments.Text(logOption).toLower());
        if (index < 0)
            return arguments.Fail(
                QStringLiteral("--log takes one of %1, not '%2'")
                    .arg(LevelNames().join(QStringLiteral(", ")), arguments.Text(logOption)));
        level = static_cast<IMessage::Priority>(index);
        log_.SetLevel(level);
    }
    if (arguments.Has(logFileOption) && arguments.Has(logConfigOption))
        arguments.Fail(QStringLiteral("--log-file and --log-config exclude each other"));
    else if (arguments.Has(logFileOption))
        SetUpLogFile(arguments, level);
    else if (arguments.Has(logConfigOption))
        SetUpLogConfig(arguments);
}

void Command::SetUpLogFile(Arguments& arguments, IMessage::Priority level)
{
    const QString path = arguments.Text(logFileOption);
    // log4cpp would not say that it cannot open it, and wait at a pipe that nobody reads.
    constexpr int mode = 0644;
    const int file = open(QFile::encodeName(path).constData(),
                          O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_CLOEXEC, mode);
    if (file < 0)
        return arguments.Fail(
            QStringLiteral("cannot write the log to '%1': %2").arg(path, qt_error_string(errno)));
    close(file);
    log_.WriteToFile(path, level);
}

void Command::SetUpLogConfig(Arguments& arguments)
{
    QString error;
    const QString path = arguments.Text(logConfigOption);
    ReadFile(path, error);
    if (!error.isEmpty())
        arguments.Fail(error);
    else if (!log_.WriteAsConfigured(path))
        arguments.Fail(QStringLiteral("'%1' is no property file that log4cpp can use").arg(path));
}

void Command::Finish(ExitCode code)
{
    if (!code_)
        QCoreApplication::exit(code);
    code_ = code;
}

void Command::FinishWritten(bool written)
{
    if (written)
        Finish(Success);
    else
        Fail(QStringLiteral("cannot write to standard output"));
}

void Command::Fail(const QString& message)
{
    PrintError(message);
    Finish(JobFailed);
}

Input* Command::ReadInput()
{
    auto* input = new Input(this);
    connect(input, &Input::failed, this, [this](const QString& reason) {
        Fail(QStringLiteral("cannot read standard input: ") + reason);
    });
    return input;
}

void Command::PrintError(const QString& message)
{
    PrintLine(stderr, QStringLiteral("qvtool %1: %2").arg(name_, message));
}

} // namespace qvtool
