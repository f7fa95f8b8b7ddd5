#include "common/shell/tree_p.h"

#include <QFile>

#include <cstring>

namespace common {

Tree::Tree()
{
    AddName(DirectoryKind, "");
    directories_.push_back({{root, 1}, 0});
}

void Tree::AddName(Kind kind, const char* name)
{
    names_.push_back(char(kind));
    names_.append(name, std::strlen(name) + 1);
}

size_t Tree::NameAfter(size_t name) const
{
    return name + std::strlen(Name(name)) + 2;
}

Tree::Directory Tree::AddDirectory(const Entry& entry)
{
    directories_.push_back({entry, Depth(entry.directory) + 1});
    return DirectoryCount() - 1;
}

QString Tree::Path(Entry entry) const
{
    std::vector<const char*> names{Name(entry.name)};
    for (; entry.directory != root; entry = AsEntry(entry.directory))
        names.push_back(NameOf(entry.directory));
    QByteArray path;
    for (auto name = names.crbegin(); name != names.crend(); ++name)
        path.append(path.isEmpty() ? "" : "/").append(*name);
    return QFile::decodeName(path);
}

} // namespace common
