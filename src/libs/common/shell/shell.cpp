#include "common/shell/shell.h"

#include "common/logger/log.h"
#include "common/shell/paths_p.h"
#include "common/shell/treewalk_p.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>

#include <atomic>

namespace common {

namespace {

constexpr logger::ICategory logCategory{"common.shell"};
constexpr char logSource[] = "src/libs/common/shell/shell";

std::atomic<int> nextTempNumber{100};

void RemoveOld(const QString& destination)
{
    if (QDir().exists(destination) && !QDir().remove(destination))
        QVLOG_FROM("Copy", ERROR) << "Failed to remove file '" << destination << "'";
}

// Whether removing the destination first would leave anything to copy. A source that only Qt knows
// (a resource, say) is never the destination.
bool IsCopyable(const QString& source, const QString& destination)
{
    const QFileInfo info(source);
    if (!info.isFile() || !info.isReadable())
        return false;
    if (!info.isNativePath())
        return true;
    const QString from = info.filePath(); // "prefix:" of a search path is replaced
    const QString to = QFileInfo(destination).filePath();
    return !IsSameFile(from, to) && !GoesThroughLink(from, to);
}

} // namespace

bool Shell::Copy(const QString& source, const QString& destination, bool overwrite)
{
    const bool copyable = IsCopyable(source, destination);
    if (overwrite && copyable)
        RemoveOld(destination);
    const QString path = QFileInfo(destination).absolutePath();
    if (!QDir().mkpath(path))
        QVLOG(ERROR) << "Failed to create path '" << path << "'";
    if (copyable && QFile(source).copy(destination))
        return true;
    QVLOG(ERROR) << "Copy file '" << source << "' to '" << destination << "' failed!";
    return false;
}

bool Shell::Copy(const QStringList& files, const QString& sourceDir, const QString& destinationDir,
                 bool overwrite)
{
    const auto below = [](const QString& directory, const QString& path) {
        return QDir::toNativeSeparators(directory + QDir::separator() + path);
    };
    for (const QString& file : files) {
        const QString path = QDir(sourceDir).relativeFilePath(file);
        if (!Copy(below(sourceDir, path), below(destinationDir, path), overwrite))
            return false;
    }
    return true;
}

QStringList Shell::ScanFiles(const QString& dir, const QStringList& nameFilters)
{
    const QFileInfo root(dir.isEmpty() ? QStringLiteral(".") : dir);
    const QString below = PathBelow(root.absoluteFilePath());
    Tree tree;
    OpenDirectories directories(tree, QFile::encodeName(root.filePath()),
                                OpenDirectories::FollowAll);
    TreeWalk walk(tree, directories, root.filePath(), TreeWalk::LinksAsWhatTheyLeadTo, nameFilters);
    QStringList files;
    for (auto step = walk.Next(); step != TreeWalk::End; step = walk.Next()) {
        if (step == TreeWalk::Found && walk.Kind() != Tree::DirectoryKind)
            files << below + tree.Path(walk.Entry());
    }
    return files;
}

QString Shell::TempPath()
{
    const QString directory =
        QDir::toNativeSeparators(QStandardPaths::writableLocation(QStandardPaths::TempLocation));
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss"));
    return directory + QDir::separator() +
           QStringLiteral("ZELKO_%1_%2").arg(time, QString::number(nextTempNumber++));
}

QString Shell::LocaleName()
{
    const QLocale locale = QLocale::system();
    return locale.uiLanguages().value(0, locale.name());
}

QString Shell::AppPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
}

} // namespace common
