#include "common/shell/treewalk_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>

#include <dirent.h>
#include <fcntl.h>

namespace common {

namespace {

// That of what is there, or of what it leads to; unknown if there is nothing.
unsigned char TypeAt(int directory, const char* name, int flags)
{
    struct stat status = {};
    if (fstatat(directory, name, &status, flags) != 0)
        return DT_UNKNOWN;
    return IFTODT(status.st_mode);
}

bool IsDecodable(const char* name)
{
    const bool isAscii =
        std::none_of(name, name + qstrlen(name), [](uchar character) { return character > 127; });
    return isAscii || QFile::encodeName(QFile::decodeName(name)) == name;
}

} // namespace

TreeWalk::TreeWalk(Tree& tree, OpenDirectories& directories, const QString& root, Listed listed,
                   const QStringList& nameFilters)
    : tree_(tree),
      directories_(directories),
      root_(root),
      listed_(listed),
      isNative_(QFileInfo(root).isNativePath())
{
    for (const QString& filter : nameFilters)
        nameFilters_.emplace_back(QRegularExpression::wildcardToRegularExpression(filter),
                                  QRegularExpression::CaseInsensitiveOption);
}

TreeWalk::Step TreeWalk::Next()
{
    if (ahead_)
        Enter(*ahead_);
    ahead_.reset();
    if (levels_.empty())
        return End;
    Level& level = levels_.back();
    if (level.next == level.end) {
        directory_ = level.directory;
        levels_.pop_back();
        return Left;
    }
    entry_ = {level.directory, level.next};
    level.next = tree_.NameAfter(level.next);
    if (Kind() == Tree::DirectoryKind) {
        directory_ = tree_.AddDirectory(entry_);
        ahead_ = directory_;
    }
    return Found;
}

void TreeWalk::Enter(Tree::Directory directory)
{
    const size_t begin = tree_.NextName();
    if (isNative_)
        Read(directory);
    else
        ReadByQt(directory);
    levels_.push_back({directory, begin, tree_.NextName()});
}

// A directory that must not be read is empty. One that cannot be read, or that is another thing by
// now, is not the one that is to be copied or removed.
void TreeWalk::Read(Tree::Directory directory)
{
    const int place = directories_.Open(directory);
    if (listed_ == LinksAsWhatTheyLeadTo && place >= 0 && directories_.IsLoop(directory))
        return;
    const bool isRead = place >= 0 && ReadNames(place);
    const bool mustNotBeRead = errno == EACCES || errno == EBADF; // not opened, or not for that
    if (!isRead && !mustNotBeRead && errno != ENOENT)
        directories_.Distrust(directory);
}

bool TreeWalk::ReadNames(int place)
{
    alignas(dirent64) std::array<char, 32768> entries;
    ssize_t size = 0;
    while ((size = getdents64(place, entries.data(), entries.size())) > 0) {
        for (ssize_t at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(entries.data() + at);
            at += entry->d_reclen;
            const auto kind = Matches(entry->d_name)
                                  ? KindToList(place, entry->d_name, entry->d_type)
                                  : std::nullopt;
            if (kind)
                tree_.AddName(*kind, entry->d_name);
        }
    }
    return size == 0;
}

void TreeWalk::ReadByQt(Tree::Directory directory)
{
    const QDir place(root_ + QLatin1Char('/') + tree_.Path(tree_.AsEntry(directory)));
    const QStringList names =
        place.entryList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot, QDir::NoSort);
    for (const QString& name : names) {
        const QByteArray bytes = QFile::encodeName(name);
        if (Matches(bytes.constData()))
            tree_.AddName(QFileInfo(place.filePath(name)).isDir() ? Tree::DirectoryKind
                                                                  : Tree::FileKind,
                          bytes.constData());
    }
}

bool TreeWalk::Matches(const char* name) const
{
    if (name[0] == '.' || !IsDecodable(name)) // hidden entries are left out on purpose
        return false;
    return nameFilters_.empty() ||
           std::any_of(nameFilters_.cbegin(), nameFilters_.cend(), [name](const auto& filter) {
               return filter.match(QFile::decodeName(name)).hasMatch();
           });
}

std::optional<Tree::Kind> TreeWalk::KindToList(int directory, const char* name,
                                               unsigned char type) const
{
    if (type == DT_UNKNOWN)
        type = TypeAt(directory, name, AT_SYMLINK_NOFOLLOW);
    if (listed_ == LinksAsWhatTheyLeadTo && type == DT_LNK)
        type = TypeAt(directory, name, 0);
    if (listed_ == UsualFiles && type != DT_DIR && type != DT_REG &&
        (type != DT_LNK || TypeAt(directory, name, 0) == DT_UNKNOWN))
        return std::nullopt;
    return Tree::Kind(type);
}

} // namespace common
