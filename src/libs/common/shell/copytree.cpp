#include "common/shell/copytree_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

#include <fcntl.h>

namespace common {

namespace {

QByteArray AbsoluteName(const QString& path)
{
    const QFileInfo info(path);
    return QFile::encodeName(info.isAbsolute() ? info.filePath()
                                               : QDir::currentPath() + '/' + info.filePath());
}

} // namespace

CopyTree::CopyTree(const CopyPaths& tree)
    : given(tree),
      from(names, AbsoluteName(tree.first), OpenDirectories::FollowRoot),
      to(names, AbsoluteName(tree.second), OpenDirectories::MakeMissing),
      isNative(QFileInfo(tree.first).isNativePath())
{
}

QString CopyTree::SourceOf(const Tree::Entry& entry) const
{
    return given.first + QDir::separator() + names.Path(entry);
}

QString CopyTree::DestinationOf(const Tree::Entry& entry) const
{
    return given.second + QDir::separator() + names.Path(entry);
}

qint64 CopyTree::SizeOf(const Tree::Entry& file)
{
    if (!isNative)
        return QFileInfo(SourceOf(file)).size();
    struct stat status = {};
    fstatat(from.Open(file.directory), names.Name(file.name), &status, AT_SYMLINK_NOFOLLOW);
    return status.st_size;
}

bool CopyTree::HasFile(const CopyPaths& item) const
{
    return std::any_of(files.cbegin(), files.cend(), [&](const Tree::Entry& file) {
        return SourceOf(file) == item.first && DestinationOf(file) == item.second;
    });
}

void CopyTree::Close()
{
    from.Close();
    to.Close();
}

CopySources SourcesOf(const std::deque<CopyTree>& trees, const QList<CopyPaths>& given)
{
    CopySources sources;
    for (const CopyTree& tree : trees) {
        for (const auto* entries : {&tree.files, &tree.links}) {
            for (const Tree::Entry& entry : *entries)
                sources.places.emplace(tree.from.Seen(entry.directory),
                                       tree.names.Name(entry.name));
        }
    }
    for (const CopyPaths& item : given) {
        const QFileInfo source(item.first);
        struct stat status = {};
        if (stat(QFile::encodeName(source.path()).constData(), &status) == 0)
            sources.places.emplace(
                Identity(status),
                sources.names.emplace_back(QFile::encodeName(source.fileName())).constData());
    }
    return sources;
}

} // namespace common
