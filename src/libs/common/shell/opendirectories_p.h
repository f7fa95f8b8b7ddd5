#pragma once

#include "common/shell/descriptor_p.h"
#include "common/shell/identity_p.h"
#include "common/shell/tree_p.h"

#include <QByteArray>

#include <vector>

namespace common {

/**
 * Opens the directories of a tree, so that nobody can lead us out of it: each by its name in the one
 * above it, never through a link, and only if it is the same one as the first time.
 *
 * The way from the root to the last one stays open, as the next one is near. Of a long way that are
 * the last 64; those above are found again by "..", with the same comparison.
 */
class OpenDirectories
{
public:
    enum Rule {
        FollowNothing,
        FollowRoot, ///< the root may be a link
        FollowAll,
        MakeMissing ///< the root may be a link; directories that are missing are made
    };

    OpenDirectories(const Tree& tree, const QByteArray& root, Rule rule);

    /** A descriptor that stays open until the next call; or -1 and errno, ESTALE for another one. */
    int Open(Tree::Directory directory);
    /** Closes all, until the next call. */
    void Close() { way_.clear(); }

    /** If the root is there by now, it is to stay the same. */
    void LookAtRoot();
    /** What the directory was when it was first opened. */
    Identity Seen(Tree::Directory directory) const;
    /** Whether it was missing and is made. */
    bool WasMade(Tree::Directory directory) const;
    /** Whether it is a directory above itself, through links. */
    bool IsLoop(Tree::Directory directory) const;
    /** Whatever is there from now on, it was not what was found. */
    void Distrust(Tree::Directory directory);

    /** Whether the entry there now is the directory that was opened; errno is 0 if it is another. */
    bool IsInPlace(Tree::Directory directory);
    /**
     * Whether all that were opened are in place, those that have gone aside if @p mayBeGone; the
     * one that is not is in @p missing.
     */
    bool AreInPlace(bool mayBeGone, Tree::Directory* missing);

    const QByteArray& Root() const { return root_; }

private:
    struct Step
    {
        Tree::Directory directory;
        Descriptor descriptor; // closed if many are below it
    };

    bool IsOnWay(Tree::Directory directory) const;
    bool GoUpTo(Tree::Directory directory);
    bool GoDownTo(Tree::Directory directory);
    Descriptor OpenBelow(Tree::Directory directory) const;
    Descriptor OpenOrMake(Tree::Directory directory);
    Identity& Remembered(Tree::Directory directory);
    bool Recognise(Tree::Directory directory, int descriptor);

    const Tree& tree_;
    QByteArray root_;
    Rule rule_;
    std::vector<Step> way_;
    std::vector<Tree::Directory> ahead_;
    std::vector<Identity> seen_;
    std::vector<bool> made_;
};

} // namespace common
