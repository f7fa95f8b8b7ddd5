#include "common/shell/shell.h"

#include "common/logger/log.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <csignal>

#include <unistd.h>

namespace common {

namespace {

constexpr logger::ICategory logCategory{"common.shell"};
constexpr char logSource[] = "src/libs/common/shell/linux/shell";

constexpr int answerTimeout = 2000; // milliseconds
constexpr int killTimeout = 100;

// A process that is ended together with those that it has started.
class GroupProcess : public QProcess
{
public:
    void KillGroup()
    {
        if (state() == NotRunning)
            return;
        ::kill(-static_cast<pid_t>(processId()), SIGKILL);
        waitForFinished(killTimeout);
    }

#if QT_VERSION_MAJOR < 6
    void setupChildProcess() override
    {
        setpgid(0, 0);
    }
#else
    GroupProcess()
    {
        setChildProcessModifier([] { setpgid(0, 0); });
    }
#endif
};

// The desktop file of the program that opens folders; empty if nobody tells.
QString FolderHandler()
{
    GroupProcess query;
    query.start(QStringLiteral("xdg-mime"), {QStringLiteral("query"), QStringLiteral("default"),
                                             QStringLiteral("inode/directory")});
    query.waitForFinished(answerTimeout);
    const QString answer = QString::fromUtf8(query.readLine().constData()).simplified();
    query.KillGroup();
    return answer;
}

struct FileManager
{
    const char* desktopFile;
    const char* program;
    const char* option; // before the path; null for none
};

constexpr FileManager fileManagers[] = {
    {"dolphin.desktop", "dolphin", "--select"},
    {"org.kde.dolphin.desktop", "dolphin", "--select"},
    {"nautilus.desktop", "nautilus", nullptr},
    {"org.gnome.Nautilus.desktop", "nautilus", nullptr},
    {"nautilus-folder-handler.desktop", "nautilus", nullptr},
    {"nemo.desktop", "nemo", "--no-desktop"},
    {"konqueror.desktop", "konqueror", "--select"},
    {"kfmclient_dir.desktop", "konqueror", "--select"},
};

} // namespace

bool Shell::ShowFile(const QString& file)
{
    const QFileInfo info(file);
    QString program = QStringLiteral("xdg-open");
    QStringList arguments = {info.absoluteDir().absolutePath()};
    const QString handler = FolderHandler();
    for (const FileManager& manager : fileManagers) {
        if (handler != QLatin1String(manager.desktopFile))
            continue;
        program = QLatin1String(manager.program);
        arguments = QStringList(info.absoluteFilePath());
        if (manager.option)
            arguments.prepend(QLatin1String(manager.option));
    }
    if (QProcess::startDetached(program, arguments))
        return true;
    QVLOG(ERROR) << QStringLiteral("Failed to launch '%1 %2'")
                        .arg(program, arguments.join(QLatin1Char(' ')));
    return false;
}

} // namespace common
