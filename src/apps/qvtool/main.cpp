#include "ciphercommand.h"
#include "command.h"
#include "comparecommand.h"
#include "copycommand.h"
#include "demo.h"
#include "desktopcommands.h"
#include "deviceidcommand.h"
#include "downloadcommand.h"
#include "parsecommand.h"
#include "progress.h"
#include "removecommand.h"
#include "requestcommand.h"
#include "text.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <csignal>
#include <cstring>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

using Commands = std::vector<std::unique_ptr<qvtool::Command>>;

// The library's log arrives here once --log has given it a level.
void WriteToStandardError(QtMsgType, const QMessageLogContext& context, const QString& text)
{
    const QString category = QString::fromUtf8(context.category ? context.category : "");
    qvtool::Progress::EraseBar();
    qvtool::PrintLine(stderr, category + QStringLiteral(": ") + text);
}

QString Usage(const Commands& commands)
{
    QString text = QStringLiteral("Usage: qvtool COMMAND [ARGUMENT...]\n\n");
    for (const auto& command : commands)
        text += QStringLiteral("  %1%2\n").arg(command->Name(), -12).arg(command->Summary());
    text += QStringLiteral("\n'qvtool COMMAND --help' tells more; 'qvtool --version' the version.\n"
                           "Exit codes: 0 success, 1 the job failed, 2 wrong usage.\n");
    return text;
}

// The application would take their numbers for files of its own. These fail when they are used.
void OccupyClosedStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0)
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

// One command may ask the X server; the others need none.
std::unique_ptr<QCoreApplication> MakeApplication(int& argc, char* argv[])
{
    if (argc < 2 || strcmp(argv[1], "idle") != 0 || !qvtool::IdleCommand::HasXServer())
        return std::make_unique<QCoreApplication>(argc, argv);
    qputenv("QT_QPA_PLATFORM", "xcb");
    return std::make_unique<QGuiApplication>(argc, argv);
}

int Run(const Commands& commands, QStringList arguments)
{
    if (arguments.isEmpty()) {
        qvtool::Print(stderr, Usage(commands));
        return qvtool::WrongUsage;
    }
    const QString name = arguments.takeFirst();
    if (name == QLatin1String("--help") || name == QLatin1String("-h"))
        return qvtool::Print(stdout, Usage(commands)) ? qvtool::Success : qvtool::JobFailed;
    if (name == QLatin1String("--version") || name == QLatin1String("-v"))
        return qvtool::PrintLine(stdout, qvtool::VersionText()) ? qvtool::Success
                                                                : qvtool::JobFailed;
    for (const auto& command : commands) {
        if (command->Name() == name)
            return command->Execute(arguments);
    }
    qvtool::PrintLine(stderr, QStringLiteral("qvtool: there is no command '%1' (see 'qvtool "
                                             "--help')")
                                  .arg(name));
    return qvtool::WrongUsage;
}

} // namespace

int main(int argc, char* argv[])
{
    OccupyClosedStandardStreams();
    qInstallMessageHandler(WriteToStandardError);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is a failed write
    const auto application = MakeApplication(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("qvtool"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QVTOOL_VERSION));

    qvtool::ToolLogger log;
    Commands commands;
    commands.push_back(std::make_unique<qvtool::DownloadCommand>(log));
    commands.push_back(std::make_unique<qvtool::GetCommand>(log));
    commands.push_back(std::make_unique<qvtool::PostCommand>(log));
    commands.push_back(std::make_unique<qvtool::CopyCommand>(log));
    commands.push_back(std::make_unique<qvtool::RemoveCommand>(log));
    commands.push_back(std::make_unique<qvtool::ParseCommand>(log));
    commands.push_back(std::make_unique<qvtool::EncryptCommand>(log));
    commands.push_back(std::make_unique<qvtool::DecryptCommand>(log));
    commands.push_back(std::make_unique<qvtool::CompareCommand>(log));
    commands.push_back(std::make_unique<qvtool::DeviceIdCommand>(log));
    commands.push_back(std::make_unique<qvtool::RevealCommand>(log));
    commands.push_back(std::make_unique<qvtool::TempPathCommand>(log));
    commands.push_back(std::make_unique<qvtool::IdleCommand>(log));
    commands.push_back(std::make_unique<qvtool::Demo>(log));
    return Run(commands, QCoreApplication::arguments().mid(1));
}
