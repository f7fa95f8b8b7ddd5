#pragma once

#include "common/shell/content_p.h"
#include "common/shell/descriptor_p.h"
#include "common/shell/opendirectories_p.h"

#include <QFile>

#include <optional>

namespace common {

/** A name in a directory of a tree. */
struct Place
{
    OpenDirectories* directories;
    Tree::Directory directory;
    const char* name;

    int OpenDirectory() const { return directories->Open(directory); }
};

/** The places of paths that were given one by one. The last one's directory stays open. */
class GivenPlaces
{
public:
    explicit GivenPlaces(OpenDirectories::Rule rule) : rule_(rule) {}

    /** Valid until the next call. */
    Place At(const QString& path);
    /** Whether a directory that was opened was exchanged for another one since Forget(). */
    bool HaveMoved() { return haveMoved_ || !IsInPlace(); }
    void Forget()
    {
        directories_.reset();
        haveMoved_ = false;
    }

private:
    bool IsInPlace();

    OpenDirectories::Rule rule_;
    bool haveMoved_ = false;
    Tree tree_;
    std::optional<OpenDirectories> directories_;
    QByteArray name_;
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
    void Close();

    /** Copies the content once it is open. */
    bool CopyTo(int descriptor, Content& content);
    /** The permissions of the copy. */
    mode_t Permissions() const;
    /** Whether it is the same file as that in the other place. */
    bool IsSame(const Place& other) const;

private:
    State OpenByQt();
    State OpenFound();
    State LookAtGiven();

    Kind kind_;
    Place place_;
    QFile file_; // as Qt knows it
    Descriptor descriptor_;
    struct stat status_ = {};
};

} // namespace common
