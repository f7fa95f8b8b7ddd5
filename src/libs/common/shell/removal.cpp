#include "common/shell/removal_p.h"

#include <cerrno>

#include <fcntl.h>

namespace common {

namespace {

// That of a system call: its result, and errno if that is negative.
Removal RemovalOf(int result)
{
    if (result >= 0)
        return Removal::Done;
    return errno == ENOENT ? Removal::Missing : Removal::Failed;
}

} // namespace

Removal RemoveFileFrom(OpenDirectories& directories, const Tree::Entry& file)
{
    const int parent = directories.Open(file.directory);
    return RemovalOf(parent < 0 ? -1 : unlinkat(parent, directories.Names().Name(file.name), 0));
}

Removal RemoveDirectoryFrom(OpenDirectories& directories, Tree::Directory directory)
{
    if (!directories.IsInPlace(directory))
        return RemovalOf(-1);
    if (directory == Tree::root)
        return RemovalOf(rmdir(directories.Root().constData()));
    const Tree& tree = directories.Names();
    const int parent = directories.Open(tree.Parent(directory));
    return RemovalOf(parent < 0 ? -1 : unlinkat(parent, tree.NameOf(directory), AT_REMOVEDIR));
}

} // namespace common
