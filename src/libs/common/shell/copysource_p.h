#pragma once

#include "common/shell/descriptor_p.h"
#include "common/shell/opendirectories_p.h"

#include <QString>

namespace common {

/** A name in a directory of a tree; or a path, if there is none. */
struct Place
{
    OpenDirectories* directories;
    Tree::Directory directory;
    const char* name;

    /** The descriptor to use the name with; or -1 and errno. */
    int OpenDirectory() const;
    /** Looks at what is there itself, a link or not. */
    bool Look(struct stat* status) const;
};

/** A file that is to be copied. */
class CopySource
{
public:
    enum State { Ready, Missing, Unfit, Failed };
    enum Kind {
        Found,  ///< in a tree, as a regular file: a link by now is not followed
        Given,  ///< by a path that may be that of a link
        OfQt,   ///< known to Qt only
        Special ///< in a tree, and no regular file
    };

    CopySource(Kind kind, const Place& place, const QString& path);

    /**
     * Opens it if it is a regular file: nothing else is opened, it is unfit. Failed: it might work
     * the next time.
     */
    State Open();
    void Close() { descriptor_.Close(); }

    bool IsOpen() const { return bool(descriptor_); }
    int Number() const { return descriptor_.Number(); }
    /** Of the open file. */
    const struct stat& Status() const { return status_; }
    /** Whether it is the same file as that in the other place. */
    bool IsSame(const Place& other) const;

private:
    State OpenByQt();
    State OpenNative();
    State LookAtGiven();

    Kind kind_;
    Place place_;
    QString path_; // as Qt knows it
    Descriptor descriptor_;
    struct stat status_ = {};
};

} // namespace common
