#include "common/shell/newfile_p.h"

#include <QCryptographicHash>

#include <atomic>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace common {

namespace {

// Cleared where a nameless file cannot be given a name: an old kernel without /proc.
std::atomic<bool> namelessFilesWork{true};

// Short enough wherever the final name is; hidden, so that it is neither listed nor copied.
QByteArray TemporaryName(const char* name)
{
    return ".qvcopy-" + QCryptographicHash::hash(name, QCryptographicHash::Md5).toHex();
}

} // namespace

NewFile::~NewFile()
{
    if (!temporary_.isEmpty())
        unlinkat(directory_, temporary_.constData(), 0);
}

bool NewFile::Open()
{
    if (namelessFilesWork) {
        descriptor_ = Descriptor(openat(directory_, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
        if (descriptor_)
            return true;
    }
    const bool mayHaveName = !namelessFilesWork || errno == EOPNOTSUPP || errno == EISDIR ||
                             errno == ENOENT || errno == EINVAL;
    return mayHaveName && OpenWithName();
}

bool NewFile::OpenWithName()
{
    const QByteArray name = TemporaryName(name_);
    if (!ClearTemporary())
        return false;
    descriptor_ = Descriptor(
        openat(directory_, name.constData(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
    if (!descriptor_)
        return false;
    temporary_ = name;
    flock(Number(), LOCK_EX | LOCK_NB);
    return true;
}

bool NewFile::Publish(Publication publication)
{
    const bool isNameless = temporary_.isEmpty();
    if (isNameless && publication == New)
        return Link(name_);
    if (isNameless) {
        flock(Number(), LOCK_EX | LOCK_NB);
        const QByteArray name = TemporaryName(name_);
        if (!ClearTemporary() || !Link(name.constData()))
            return false;
        temporary_ = name;
    }
    return Rename(publication == New ? RENAME_NOREPLACE : 0);
}

bool NewFile::PublishLink(const char* target, Publication publication)
{
    if (publication == New)
        return symlinkat(target, directory_, name_) == 0;
    const QByteArray name = TemporaryName(name_);
    if (!ClearTemporary() || symlinkat(target, directory_, name.constData()) != 0)
        return false;
    temporary_ = name;
    return Rename(0);
}

bool NewFile::Link(const char* name)
{
    if (linkat(Number(), "", directory_, name, AT_EMPTY_PATH) == 0)
        return true;
    if (errno != ENOENT) // which means here: not allowed
        return false;
    const QByteArray self = "/proc/self/fd/" + QByteArray::number(Number());
    if (linkat(AT_FDCWD, self.constData(), directory_, name, AT_SYMLINK_FOLLOW) == 0)
        return true;
    if (errno == ENOENT)
        namelessFilesWork = false;
    return false;
}

// Not every file system can keep from replacing: a second name for the file can, then.
bool NewFile::Rename(unsigned int flags)
{
    int result = flags == 0
                     ? renameat(directory_, temporary_.constData(), directory_, name_)
                     : renameat2(directory_, temporary_.constData(), directory_, name_, flags);
    if (result != 0 && flags != 0 && errno == EINVAL)
        result = linkat(directory_, temporary_.constData(), directory_, name_, 0);
    else if (result == 0)
        temporary_.clear();
    return result == 0;
}

// A temporary file without a lock was left behind by a crash. A link is no work of any length.
bool NewFile::ClearTemporary() const
{
    const QByteArray name = TemporaryName(name_);
    const Descriptor found(
        openat(directory_, name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!found && errno == ENOENT)
        return true;
    if (found && flock(found.Number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        errno = EBUSY;
        return false;
    }
    return unlinkat(directory_, name.constData(), 0) == 0 || errno == ENOENT;
}

} // namespace common
