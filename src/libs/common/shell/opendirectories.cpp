#include "common/shell/opendirectories_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>

namespace common {

namespace {

constexpr size_t window = 64;

// To list it; or, without the permission to read it, only to go through it.
Descriptor OpenDirectory(int parent, const char* name, int flags = 0)
{
    flags |= O_DIRECTORY | O_CLOEXEC;
    Descriptor readable(openat(parent, name, O_RDONLY | flags));
    return readable || errno != EACCES ? std::move(readable)
                                       : Descriptor(openat(parent, name, O_PATH | flags));
}

} // namespace

OpenDirectories::OpenDirectories(const Tree& tree, const QByteArray& root, Rule rule)
    : tree_(tree), root_(root), rule_(rule)
{
}

int OpenDirectories::Open(Tree::Directory directory)
{
    ahead_.clear();
    Tree::Directory meeting = directory;
    while (!IsOnWay(meeting)) {
        ahead_.push_back(meeting);
        if (meeting == Tree::root)
            break;
        meeting = tree_.Parent(meeting);
    }
    if (!way_.empty() && !GoUpTo(meeting)) {
        Close();
        return Open(directory);
    }
    for (auto next = ahead_.crbegin(); next != ahead_.crend(); ++next) {
        if (!GoDownTo(*next))
            return -1;
    }
    return way_.back().descriptor.Number();
}

bool OpenDirectories::IsOnWay(Tree::Directory directory) const
{
    const size_t depth = tree_.Depth(directory);
    return depth < way_.size() && way_[depth].directory == directory;
}

bool OpenDirectories::GoUpTo(Tree::Directory directory)
{
    while (way_.back().directory != directory) {
        Step& above = way_[way_.size() - 2];
        if (!above.descriptor) {
            above.descriptor = OpenDirectory(way_.back().descriptor.Number(), "..");
            if (!above.descriptor || !Recognise(above.directory, above.descriptor.Number()))
                return false;
        }
        way_.pop_back();
    }
    return true;
}

bool OpenDirectories::GoDownTo(Tree::Directory directory)
{
    Descriptor descriptor = rule_ == MakeMissing ? OpenOrMake(directory) : OpenBelow(directory);
    if (!descriptor || !Recognise(directory, descriptor.Number()))
        return false;
    way_.push_back({directory, std::move(descriptor)});
    if (way_.size() > window)
        way_[way_.size() - 1 - window].descriptor.Close();
    return true;
}

Descriptor OpenDirectories::OpenBelow(Tree::Directory directory) const
{
    const bool isRoot = directory == Tree::root;
    const bool follows = rule_ == FollowAll || (isRoot && rule_ != FollowNothing);
    return OpenDirectory(isRoot ? AT_FDCWD : way_.back().descriptor.Number(),
                         isRoot ? root_.constData() : tree_.NameOf(directory),
                         follows ? 0 : O_NOFOLLOW);
}

Descriptor OpenDirectories::OpenOrMake(Tree::Directory directory)
{
    const bool isNew = !Seen(directory).IsKnown(); // one that was there is not made again
    if (directory == Tree::root) {
        Descriptor found = OpenBelow(directory);
        if (found || errno != ENOENT || !isNew)
            return found;
        if (!QDir().mkpath(QFileInfo(QFile::decodeName(root_)).absoluteFilePath()))
            return {};
        return OpenDirectory(AT_FDCWD, root_.constData(), O_NOFOLLOW);
    }
    if (isNew && mkdirat(way_.back().descriptor.Number(), tree_.NameOf(directory), 0777) == 0) {
        made_.resize(tree_.DirectoryCount());
        made_[directory] = true;
    }
    return OpenBelow(directory);
}

void OpenDirectories::LookAtRoot()
{
    const Descriptor root = OpenBelow(Tree::root);
    if (root)
        Recognise(Tree::root, root.Number());
}

Identity& OpenDirectories::Remembered(Tree::Directory directory)
{
    if (directory >= seen_.size())
        seen_.resize(tree_.DirectoryCount());
    return seen_[directory];
}

bool OpenDirectories::Recognise(Tree::Directory directory, int descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0)
        return false;
    Identity& remembered = Remembered(directory);
    if (!remembered.IsKnown())
        remembered = Identity(status);
    if (remembered == Identity(status))
        return true;
    errno = ESTALE;
    return false;
}

Identity OpenDirectories::Seen(Tree::Directory directory) const
{
    return directory < seen_.size() ? seen_[directory] : Identity();
}

bool OpenDirectories::WasMade(Tree::Directory directory) const
{
    return directory < made_.size() && made_[directory];
}

bool OpenDirectories::IsLoop(Tree::Directory directory) const
{
    const Identity self = Seen(directory);
    while (directory != Tree::root) {
        directory = tree_.Parent(directory);
        if (Seen(directory) == self)
            return true;
    }
    return false;
}

void OpenDirectories::Distrust(Tree::Directory directory)
{
    Remembered(directory).inode = ~ino_t(0);
}

bool OpenDirectories::IsInPlace(Tree::Directory directory)
{
    struct stat status = {};
    if (directory == Tree::root) {
        const auto look = rule_ == FollowNothing ? lstat : stat;
        if (look(root_.constData(), &status) != 0)
            return false;
    } else {
        const int parent = Open(tree_.Parent(directory));
        if (parent < 0 ||
            fstatat(parent, tree_.NameOf(directory), &status, AT_SYMLINK_NOFOLLOW) != 0)
            return false;
    }
    errno = 0;
    return Identity(status) == Seen(directory);
}

bool OpenDirectories::AreInPlace(bool mayBeGone, Tree::Directory* missing)
{
    Close();
    for (*missing = Tree::root; *missing < seen_.size(); ++*missing) {
        if (Seen(*missing).IsKnown() && Open(*missing) < 0 && !(mayBeGone && errno == ENOENT))
            return false;
    }
    return true;
}

} // namespace common
