#include "common/shell/opendirectories_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>

namespace common {

namespace {

constexpr size_t window = 64;

// A descriptor to go through a directory, which takes no permission to read it.
constexpr int passing = O_PATH | O_DIRECTORY | O_CLOEXEC;

Identity Distrusted()
{
    Identity identity;
    identity.inode = ~ino_t(0);
    return identity;
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
            above.descriptor = Descriptor(openat(way_.back().descriptor.Number(), "..", passing));
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
    const bool follows = rule_ == FollowAll || (directory == Tree::root && rule_ != FollowNothing);
    const int flags = follows ? passing : passing | O_NOFOLLOW;
    return Descriptor(directory == Tree::root ? open(root_.constData(), flags)
                                              : openat(way_.back().descriptor.Number(),
                                                       tree_.NameOf(directory), flags));
}

Descriptor OpenDirectories::OpenOrMake(Tree::Directory directory)
{
    Descriptor found = OpenBelow(directory);
    if (found || errno != ENOENT)
        return found;
    if (directory == Tree::root) {
        QDir().mkpath(QFileInfo(QFile::decodeName(root_)).absoluteFilePath());
        return Descriptor(open(root_.constData(), passing | O_NOFOLLOW));
    }
    if (mkdirat(way_.back().descriptor.Number(), tree_.NameOf(directory), 0777) == 0) {
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

bool OpenDirectories::Recognise(Tree::Directory directory, int descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0)
        return false;
    if (directory >= seen_.size())
        seen_.resize(tree_.DirectoryCount());
    if (!seen_[directory].IsKnown())
        seen_[directory] = Identity(status);
    if (seen_[directory] == Identity(status))
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
    if (directory >= seen_.size())
        seen_.resize(tree_.DirectoryCount());
    seen_[directory] = Distrusted();
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
        if (Seen(*missing).IsKnown() && !IsInPlace(*missing) && !(mayBeGone && errno == ENOENT))
            return false;
    }
    return true;
}

} // namespace common
