#include "common/shell/paths_p.h"

#include "common/shell/identity_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>

namespace common {

namespace {

constexpr int maxHops = 40; // what Linux follows
const auto up = QLatin1String("..");

// Of what is there itself, a link or not.
Identity IdentityOf(const QString& path)
{
    struct stat status = {};
    const bool isThere = IsName(path) && lstat(QFile::encodeName(path).constData(), &status) == 0;
    return isThere ? Identity(status) : Identity();
}

} // namespace

bool IsName(const QString& path)
{
    return !path.isEmpty() && !path.contains(QChar::Null);
}

QString PathBelow(const QString& directory)
{
    const QString clean = QDir::cleanPath(directory);
    return clean.endsWith(QLatin1Char('/')) ? clean : clean + QLatin1Char('/');
}

bool Exists(const QString& path)
{
    const QFileInfo info(path); // which knows resources and search paths, too
    return info.isSymLink() || info.exists();
}

bool IsSameFile(const QString& first, const QString& second)
{
    std::error_code ignored;
    return std::filesystem::equivalent(QFile::encodeName(first).toStdString(),
                                       QFile::encodeName(second).toStdString(), ignored);
}

bool LinkLeadsThrough(const QString& link, const QString& path)
{
    const Identity place = IdentityOf(path);
    QFileInfo hop(QFileInfo(link).absoluteFilePath());
    for (int hops = 0; hops < maxHops && place.IsKnown(); ++hops) {
        if (IdentityOf(hop.filePath()) == place)
            return true;
        if (!hop.isSymLink())
            return false;
        hop.setFile(hop.symLinkTarget());
    }
    return false;
}

bool GoesThroughLink(const QString& path, const QString& link)
{
    if (!IsLink(link))
        return false;
    const QString inside = QDir::cleanPath(QFileInfo(link).absoluteFilePath()) + QLatin1Char('/');
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath()).startsWith(inside);
}

bool IsLink(const QString& path)
{
    return QFileInfo(WithoutTrailingSeparators(path)).isSymLink();
}

QString RealPlace(const QString& path)
{
    const QFileInfo info(WithoutTrailingSeparators(path));
    const QString name = info.fileName();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        return info.canonicalFilePath();
    const QString directory = QFileInfo(info.path()).canonicalFilePath();
    if (directory.isEmpty())
        return info.absoluteFilePath();
    return (directory == QDir::rootPath() ? directory : directory + QLatin1Char('/')) + name;
}

QString RelativeTarget(const std::function<QString()>& link, const QString& text)
{
    if (!text.startsWith(QLatin1Char('/')) && !text.contains(up))
        return QDir::cleanPath(text);
    const QString directory = QFileInfo(QFileInfo(link()).absoluteFilePath()).absolutePath();
    QString target = text.startsWith(QLatin1Char('/')) ? QString() : directory;
    QString from = directory;
    int below = 0; // so many names of the text are at the target's end
    for (const QString& name : text.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        const bool goesUp = name == up;
        const QString real = goesUp && below > 0 && IsLink(target)
                                 ? QFileInfo(target).canonicalFilePath()
                                 : QString();
        if (!real.isEmpty()) { // the kernel goes up from what the link leads to
            target = real;
            from = QFileInfo(directory).canonicalFilePath();
        }
        target = QDir::cleanPath(target + QLatin1Char('/') + name);
        below = goesUp ? qMax(below - 1, 0) : below + 1;
    }
    return QDir(from).relativeFilePath(target.isEmpty() ? QDir::rootPath() : target);
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
