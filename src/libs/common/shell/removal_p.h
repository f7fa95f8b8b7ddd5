#pragma once

#include "common/shell/opendirectories_p.h"

#include <optional>
#include <vector>

namespace common {

/** What became of an entry that was to be removed. */
enum class Removal { Done, Missing, Failed };

/** A tree to be removed, and what was found in it. */
struct RemovalTree
{
    /** An entry; or a directory, the root for one. */
    struct Item
    {
        Tree::Entry entry;
        std::optional<Tree::Directory> directory;
    };

    explicit RemovalTree(const QString& path,
                         OpenDirectories::Rule rule = OpenDirectories::FollowNothing);

    Item At(Tree::Directory directory) const { return {names.AsEntry(directory), directory}; }
    QString PathOf(const Item& item) const;
    /** Removes it, if it is where it was found; a directory has to be empty by now. */
    Removal Remove(const Item& item);

    QString path;
    Tree names;
    OpenDirectories directories;
    std::vector<Tree::Entry> files;
};

} // namespace common
