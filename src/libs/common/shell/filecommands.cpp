#include "common/shell/filecommands.h"

#include "common/logger/log.h"

#include <QThread>

namespace common {

namespace {

constexpr logger::ICategory logCategory{"shell.filecmd"};
constexpr char logSource[] = "src/libs/common/shell/filecommands";

constexpr int maxAttempts = 5;
constexpr unsigned long pause = 50; // milliseconds

// Describe gives the failure's text; it is asked for only after a failure.
template <typename Operation, typename Describe>
bool Retry(const char* function, Operation operation, Describe describe)
{
    for (int attempt = 1; attempt <= maxAttempts; ++attempt) {
        if (attempt > 1)
            QThread::msleep(pause);
        if (operation())
            return true;
        QVLOG_FROM(function, WARN) << describe() << ", attempt '" << attempt << '\'';
    }
    return false;
}

} // namespace

bool FileCommands::RenameDirectory(QDir& dir, const QString& oldName, const QString& newName)
{
    return Retry(
        __func__, [&] { return dir.rename(oldName, newName); },
        [&] {
            return QStringLiteral("Failed to rename directory '%1' to '%2'").arg(oldName, newName);
        });
}

bool FileCommands::RemoveDirectory(QDir& dir, const QString& dirName)
{
    return Retry(
        __func__, [&] { return dir.rmdir(dirName); },
        [&] { return QStringLiteral("Failed to remove directory '%1'").arg(dirName); });
}

bool FileCommands::CreateDirectory(QDir& dir, const QString& dirPath)
{
    return Retry(
        __func__, [&] { return dir.mkpath(dirPath); },
        [&] { return QStringLiteral("Failed to create directory '%1'").arg(dirPath); });
}

bool FileCommands::RemoveFile(QFile& file)
{
    return Retry(
        __func__, [&] { return file.remove(); },
        [&] { return QStringLiteral("Failed to remove file '%1'").arg(file.fileName()); });
}

bool FileCommands::CopyFile(QFile& file, const QString& newName)
{
    return Retry(
        __func__, [&] { return file.copy(newName); },
        [&] {
            return QStringLiteral("Failed to copy file '%1' to '%2'").arg(file.fileName(), newName);
        });
}

bool FileCommands::CreateSymlink(const QString& target, const QString& linkName)
{
    return Retry(
        __func__, [&] { return QFile::link(target, linkName); },
        [&] {
            return QStringLiteral("Failed to create link '%1' --> '%2'").arg(linkName, target);
        });
}

} // namespace common
