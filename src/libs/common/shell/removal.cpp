#include "common/shell/removal_p.h"

#include "common/shell/paths_p.h"

#include <QDir>
#include <QFile>

#include <cerrno>

#include <fcntl.h>

namespace common {

RemovalTree::RemovalTree(const QString& given, OpenDirectories::Rule rule)
    : path(given), directories(names, QFile::encodeName(RealPlace(given)), rule)
{
}

QString RemovalTree::PathOf(const Item& item) const
{
    return item.directory == Tree::root ? path : path + QDir::separator() + names.Path(item.entry);
}

Removal RemovalTree::Remove(const Item& item)
{
    int result = -1;
    if (item.directory == Tree::root) {
        if (directories.IsInPlace(Tree::root))
            result = rmdir(directories.Root().constData());
    } else if (!item.directory || directories.IsInPlace(*item.directory)) {
        const int parent = directories.Open(item.entry.directory);
        if (parent >= 0)
            result =
                unlinkat(parent, names.Name(item.entry.name), item.directory ? AT_REMOVEDIR : 0);
    }
    if (result == 0)
        return Removal::Done;
    return errno == ENOENT ? Removal::Missing : Removal::Failed;
}

} // namespace common
