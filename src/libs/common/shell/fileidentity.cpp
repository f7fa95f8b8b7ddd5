#include "common/shell/fileidentity_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <optional>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace common {

namespace {

using Status = struct stat;

constexpr int maxHops = 40; // what Linux follows

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

bool Exists(const QString& path)
{
    return Read(lstat, path).has_value();
}

bool IsDirectory(const QString& path)
{
    const auto status = Read(stat, path);
    return status && S_ISDIR(status->st_mode);
}

bool IsSameFile(const QString& first, const QString& second)
{
    return Same(Read(stat, first), Read(stat, second));
}

bool IsOnTheWayOfLink(const QString& link, const QString& destination)
{
    const auto place = Read(lstat, destination);
    QFileInfo hop(QFileInfo(link).absoluteFilePath());
    for (int hops = 0; hops < maxHops && place; ++hops) {
        if (Same(Read(lstat, hop.filePath()), place))
            return true;
        if (!hop.isSymLink())
            return false;
        hop.setFile(hop.symLinkTarget());
    }
    return false;
}

bool IsLinkInPath(const QString& source, const QString& destination)
{
    if (!IsLink(destination))
        return false;
    const QString inside =
        QDir::cleanPath(QFileInfo(destination).absoluteFilePath()) + QLatin1Char('/');
    return QDir::cleanPath(QFileInfo(source).absoluteFilePath()).startsWith(inside);
}

bool IsReadableFile(const QString& path)
{
    const auto status = Read(stat, path);
    return status && S_ISREG(status->st_mode) &&
           access(QFile::encodeName(path).constData(), R_OK) == 0;
}

bool IsCopyableLink(const QString& path)
{
    std::error_code error;
    const auto target = std::filesystem::read_symlink(QFile::encodeName(path).constData(), error);
    const QByteArray bytes = QByteArray::fromStdString(target.string());
    return !error && QFile::encodeName(QFile::decodeName(bytes)) == bytes;
}

bool IsLink(const QString& path)
{
    return QFileInfo(WithoutTrailingSeparators(path)).isSymLink();
}

QString RealPath(const QString& tree)
{
    const QString real = tree.isEmpty() ? QString() : QFileInfo(tree).canonicalFilePath();
    return real.isEmpty() ? tree : real;
}

QString RelativePath(const QString& tree, const QString& path)
{
    const int length = tree.size();
    if (path.size() > length && path.at(length) == QLatin1Char('/') && path.startsWith(tree))
        return path.mid(length + 1);
    return QDir(tree).relativeFilePath(path);
}

QString WithoutTrailingSeparators(const QString& path)
{
    const QString separator = QDir::separator();
    QString trimmed = path;
    while (trimmed.size() > 1) {
        if (trimmed.endsWith(separator))
            trimmed.chop(1);
        else if (trimmed.size() > 2 && trimmed.endsWith(separator + QLatin1Char('.')))
            trimmed.chop(2);
        else
            break;
    }
    return trimmed;
}

} // namespace common
