#pragma once

#include "common/shell/opendirectories_p.h"
#include "common/shell/tree_p.h"

#include <QRegularExpression>
#include <QStringList>

#include <optional>
#include <vector>

namespace common {

/**
 * Lists a directory tree as QDir would: without hidden entries and names that cannot be decoded, in
 * the order of the directories. What lies in a directory comes right after it.
 *
 * A path that only Qt knows, such as a resource, is listed by QDir.
 */
class TreeWalk
{
public:
    enum Listed {
        Everything,
        UsualFiles, ///< no special files, no links that lead nowhere
        LinksAsWhatTheyLeadTo
    };

    enum Step { Found, Left, End };

    TreeWalk(Tree& tree, OpenDirectories& directories, const QString& root, Listed listed,
             const QStringList& nameFilters = {});

    /** Found: an entry; Left: a directory whose entries have all been found; the root comes last. */
    Step Next();

    const Tree::Entry& Entry() const { return entry_; }
    Tree::Kind Kind() const { return tree_.KindOf(entry_.name); }
    /** The directory that was left; or the number of the entry that was found, if it is one. */
    Tree::Directory Directory() const { return directory_; }

private:
    struct Level
    {
        Tree::Directory directory;
        size_t next;
        size_t end;
    };

    void Enter(Tree::Directory directory);
    void Read(Tree::Directory directory);
    bool ReadNames(int place);
    void ReadByQt(Tree::Directory directory);
    bool Matches(const char* name) const;
    std::optional<Tree::Kind> KindToList(int directory, const char* name, unsigned char type) const;

    Tree& tree_;
    OpenDirectories& directories_;
    QString root_;
    Listed listed_;
    std::vector<QRegularExpression> nameFilters_;
    bool isNative_;
    std::vector<Level> levels_;
    std::optional<Tree::Directory> ahead_ = Tree::root;
    Tree::Entry entry_ = {};
    Tree::Directory directory_ = Tree::root;
};

} // namespace common
