#include "command.h"

#include "input.h"
#include "interrupt.h"
#include "text.h"

#include <QCoreApplication>
#include <QTimer>

namespace qvtool {

using common::logger::IMessage;

namespace {

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
    parser.addOption({QStringLiteral("log"),
                      QStringLiteral("Write the library's log to standard error, up to LEVEL: %1.")
                          .arg(LevelNames().join(QStringLiteral(", "))),
                      QStringLiteral("LEVEL")});
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
        SetLogLevel(checked);
        Configure(checked);
    }
    if (checked.Error().isEmpty())
        return std::nullopt;
    PrintError(checked.Error() + QStringLiteral(" (see 'qvtool %1 --help')").arg(name_));
    return WrongUsage;
}

void Command::SetLogLevel(Arguments& arguments)
{
    const auto option = QStringLiteral("log");
    if (!arguments.Has(option))
        return;
    const int level = LevelNames().indexOf(arguments.Text(option).toLower());
    if (level < 0)
        arguments.Fail(QStringLiteral("--log takes one of %1, not '%2'")
                           .arg(LevelNames().join(QStringLiteral(", ")), arguments.Text(option)));
    else
        log_.SetLevel(static_cast<IMessage::Priority>(level));
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
