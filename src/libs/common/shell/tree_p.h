#pragma once

#include <QString>

#include <string>
#include <vector>

#include <dirent.h>

namespace common {

/**
 * What was found in a directory tree. An entry is a name in a directory, a directory the same with a
 * number; all names lie in one block. A path is put together only where one has to be shown.
 */
class Tree
{
public:
    using Directory = quint32; ///< in the order of being found

    static constexpr Directory root = 0;

    /** As the system calls tell it; there are others. */
    enum Kind : unsigned char { DirectoryKind = DT_DIR, LinkKind = DT_LNK, FileKind = DT_REG };

    struct Entry
    {
        Directory directory;
        size_t name; ///< where in the block
    };

    Tree();

    /** Adds a name to the block: those of a directory, one after the other. */
    void AddName(Kind kind, const char* name);
    /** Where the next name comes to stand. */
    size_t NextName() const { return names_.size() + 1; }
    /** Where the name after this one stands. */
    size_t NameAfter(size_t name) const;

    const char* Name(size_t name) const { return names_.data() + name; }
    Kind KindOf(size_t name) const { return Kind(names_[name - 1]); }

    /** Gives the entry a number as a directory. */
    Directory AddDirectory(const Entry& entry);
    Directory DirectoryCount() const { return Directory(directories_.size()); }
    const Entry& AsEntry(Directory directory) const { return directories_[directory].entry; }
    Directory Parent(Directory directory) const { return AsEntry(directory).directory; }
    const char* NameOf(Directory directory) const { return Name(AsEntry(directory).name); }
    size_t Depth(Directory directory) const { return directories_[directory].depth; }

    /** As seen from the root, with as many steps as the entry has directories above it. */
    QString Path(Entry entry) const;

private:
    struct Record
    {
        Entry entry;
        size_t depth;
    };

    std::string names_; // a byte for the kind, the name, a zero byte; and so on
    std::vector<Record> directories_;
};

} // namespace common
