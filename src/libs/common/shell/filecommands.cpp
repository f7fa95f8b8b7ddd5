#include "common/shell/filecommands.h"

#include "common/logger/log.h"
#include "common/shell/filecommands_p.h"

namespace common {

namespace {

constexpr logger::ICategory logCategory{"shell.filecmd"};
constexpr char logSource[] = "src/libs/common/shell/filecommands";

} // namespace

void LogAttempt(const char* function, const QString& failure, int attempt)
{
    QVLOG_FROM(function, WARN) << failure << ", attempt '" << attempt << '\'';
}

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
        [&] { return FailedToRemoveDirectory(dirName); });
}

bool FileCommands::CreateDirectory(QDir& dir, const QString& dirPath)
{
    return Retry(
        __func__, [&] { return dir.mkpath(dirPath); },
        [&] { return FailedToCreateDirectory(dirPath); });
}

bool FileCommands::RemoveFile(QFile& file)
{
    return Retry(
        __func__, [&] { return file.remove(); },
        [&] { return FailedToRemoveFile(file.fileName()); });
}

bool FileCommands::CopyFile(QFile& file, const QString& newName)
{
    return Retry(
        __func__, [&] { return file.copy(newName); },
        [&] { return FailedToCopyFile(file.fileName(), newName); });
}

bool FileCommands::CreateSymlink(const QString& target, const QString& linkName)
{
    return Retry(
        __func__, [&] { return QFile::link(target, linkName); },
        [&] { return FailedToCreateLink(linkName, target); });
}

} // namespace common
