#include "common/shell/shell.h"

#include "common/logger/log.h"
#include "common/shell/paths_p.h"

#include <QDir>
#include <QProcess>

namespace common {

namespace {

constexpr logger::ICategory logCategory{"common.shell"};
constexpr char logSource[] = "src/libs/common/shell/unix/shell";

bool StartRemoval(const QString& folder)
{
    QDir parent(folder);
    parent.cdUp();
    // As it was given: cleaning the text of "link/../folder" makes it another folder's path.
    const QString path = WithoutTrailingSeparators(
        QDir::isAbsolutePath(folder) ? folder : QDir::currentPath() + QLatin1Char('/') + folder);
    if (path.contains(QLatin1Char('\''))) // the shell would see the path end there
        return false;
    return QProcess::startDetached(
        QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"), QStringLiteral("sleep 3; rm -rd '%1'").arg(path)},
        parent.absolutePath());
}

} // namespace

bool Shell::RemoveAfterExit(const QString& folder)
{
    if (folder.isEmpty() || !QDir(folder).exists())
        return true;
    if (StartRemoval(folder))
        return true;
    QVLOG(ERROR) << "Failed to start shell for folder remove!";
    return false;
}

bool Shell::ProcessStartDetached(const QString& program, const QStringList& arguments,
                                 const QString& workingDirectory)
{
    return QProcess::startDetached(program, arguments, workingDirectory);
}

bool Shell::IsQuickLaunchAvailable()
{
    return false;
}

QString Shell::QuickLaunchPath()
{
    return QString();
}

bool Shell::CreateShortcut(const QString&, const QString&, const QString&, const QString&,
                           const QString&)
{
    return false;
}

bool Shell::RegisterComponent(const QString&, bool)
{
    return false;
}

bool Shell::UnregisterComponent(const QString&, bool)
{
    return false;
}

bool Shell::Is64BitSystem()
{
    QVLOG(CRIT) << "Shell::Is64BitSystem() not implemented!";
    return false;
}

QString Shell::DesktopPath()
{
    QVLOG(CRIT) << "Shell::DesktopPath() not implemented!";
    return QString();
}

QString Shell::StartMenuPath()
{
    QVLOG(CRIT) << "Shell::StartMenuPath() not implemented!";
    return QString();
}

QStringList Shell::ProcessModules(const QString&)
{
    QVLOG(CRIT) << "Shell::ProcessModules() not implemented!";
    return {};
}

bool Shell::ProcessExists(const QString&)
{
    QVLOG(CRIT) << "Shell::ProcessExists() not implemented!";
    return false;
}

bool Shell::ProcessKill(const QString&)
{
    QVLOG(CRIT) << "Shell::ProcessKill() not implemented!";
    return false;
}

bool Shell::ProcessWait(const QString&, int)
{
    QVLOG(CRIT) << "Shell::ProcessWait() not implemented!";
    return false;
}

RegistryOverrider::RegistryOverrider(const QString& first, const QString& second,
                                     const wchar_t* third)
    : impl_(CreateRegistryOverriderImpl(first, second, third))
{
}

RegistryOverrider::~RegistryOverrider()
{
    Destroy(impl_);
}

RegistryOverriderImpl*
RegistryOverrider::CreateRegistryOverriderImpl(const QString&, const QString&, const wchar_t*)
{
    return nullptr;
}

void RegistryOverrider::Destroy(RegistryOverriderImpl*)
{
}

} // namespace common
