#include "command.h"
#include "console.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace qvtool {

namespace {

int Help(Call& call);

const Command helpCommand = {
    "help",
    "Describe a command, or list all commands.",
    {{"[COMMAND]", "Command to describe; without it, all are listed."}},
    {},
    &Help,
};

const Command* const commands[] = {
    &downloadCommand, &getCommand,     &postCommand,    &copyCommand,    &removeCommand,
    &parseCommand,    &encryptCommand, &decryptCommand, &compareCommand, &deviceIdCommand,
    &revealCommand,   &idleCommand,    &demoCommand,    &helpCommand};

const Command* FindCommand(const QString& name)
{
    for (const Command* command : commands) {
        if (name == command->name)
            return command;
    }
    return nullptr;
}

int Help(Call& call)
{
    const QString name = call.Positional(0);
    if (const Command* command = FindCommand(name))
        return Execute(*command, {"--help"});
    if (!name.isEmpty())
        Reject(QString("there is no command '%1'").arg(name));
    QString text = "Usage: qvtool COMMAND [ARGUMENT...]\n"
                   "The library libqvcommon on the command line.\n\nCommands:\n";
    for (const Command* command : commands)
        text += QString("  %1").arg(command->name, -12) + command->summary + '\n';
    text += "\nMore:\n  'qvtool help COMMAND' tells more; 'qvtool --version' the version.\n";
    Print((text + ExitCodes("  3 and 4 the answer of parse and compare,\n")).toUtf8());
    return Success;
}

// The library's log arrives here once --log has given it a level.
void WriteToStandardError(QtMsgType, const QMessageLogContext& context, const QString& text)
{
    PrintError(QString(context.category ? context.category : "") + ": " + text);
}

// The application would take their numbers for files of its own. These fail when they are used.
void OccupyClosedStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

// One command may ask the X server, if there is one; the others need none.
std::unique_ptr<QCoreApplication> MakeApplication(int& argc, char* argv[])
{
    if (argc < 2 || strcmp(argv[1], idleCommand.name) != 0)
        return std::make_unique<QCoreApplication>(argc, argv);
    qputenv("QT_QPA_PLATFORM", "xcb;offscreen");
    qputenv("QT_LOGGING_RULES", "qt.qpa.*=false;default.warning=false");
    return std::make_unique<QGuiApplication>(argc, argv);
}

int Run(QStringList arguments)
{
    const QString name = arguments.isEmpty() ? QString() : arguments.takeFirst();
    if (name == "--help" || name == "-h")
        return Execute(helpCommand, {});
    if (name == "--version" || name == "-v")
        return puts("qvtool " QVTOOL_VERSION) >= 0 && fflush(stdout) == 0 ? Success : JobFailed;
    if (const Command* command = FindCommand(name))
        return Execute(*command, arguments);
    PrintError(QString("qvtool: there is no command '%1' (see 'qvtool help')").arg(name));
    return WrongUsage;
}

} // namespace

} // namespace qvtool

int main(int argc, char* argv[])
{
    qvtool::OccupyClosedStandardStreams();
    qInstallMessageHandler(qvtool::WriteToStandardError);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is a failed write
    const auto application = qvtool::MakeApplication(argc, argv);
    return qvtool::Run(QCoreApplication::arguments().mid(1));
}
