#include "common/shell/fileidentity_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <optional>

#include <sys/stat.h>

namespace common {

namespace {

using Status = struct stat;

std::optional<Status> Read(int (*call)(const char*, Status*), const QString& path)
{
    Status status = {};
    if (call(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return status;
}

bool Same(const std::optional<Status>& first, const std::optional<Status>& second)
{
    return first && second && first->st_dev == second->st_dev && first->st_ino == second->st_ino;
}

} // namespace

bool IsSameFile(const QString& first, const QString& second)
{
    return Same(Read(stat, first), Read(stat, second));
}

bool IsLinkItselfOrItsTarget(const QString& link, const QString& destination)
{
    const auto place = Read(lstat, destination);
    return Same(Read(lstat, link), place) || Same(Read(stat, link), place);
}

bool IsSpecialFile(const QString& path)
{
    const auto status = Read(stat, path);
    return status && !S_ISREG(status->st_mode);
}

bool IsLink(const QString& path)
{
    return QFileInfo(WithoutTrailingSeparators(path)).isSymLink();
}

QString WithoutTrailingSeparators(const QString& path)
{
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(QDir::separator()))
        trimmed.chop(1);
    return trimmed;
}

} // namespace common
