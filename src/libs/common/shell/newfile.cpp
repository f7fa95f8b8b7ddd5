#include "common/shell/newfile_p.h"

#include "common/shell/identity_p.h"

#include <QCryptographicHash>

#include <atomic>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace common {

namespace {

// Cleared where a nameless file cannot be given a name: an old kernel without /proc.
std::atomic<bool> namelessFilesWork{true};

// Short enough wherever the final name is; hidden, so that it is neither listed nor copied.
QByteArray TemporaryName(const char* name)
{
    return ".qvcopy-" + QCryptographicHash::hash(name, QCryptographicHash::Md5).toHex();
}

bool IsFile(int descriptor, int directory, const QByteArray& name)
{
    struct stat own = {};
    struct stat named = {};
    return fstat(descriptor, &own) == 0 &&
           fstatat(directory, name.constData(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           Identity(own) == Identity(named);
}

bool Busy()
{
    errno = EBUSY;
    return false;
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
    // Somebody may have found it before it was locked.
    if (flock(Number(), LOCK_EX | LOCK_NB) != 0 || !IsFile(Number(), directory_, name))
        return Busy();
    temporary_ = name;
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
    const QByteArray name = TemporaryName(name_) + "-link"; // complete at once, so never locked
    if ((unlinkat(directory_, name.constData(), 0) != 0 && errno != ENOENT) ||
        symlinkat(target, directory_, name.constData()) != 0)
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
    const int error = errno;
    if (error == ENOENT && access(self.constData(), F_OK) != 0)
        namelessFilesWork = false;
    errno = error;
    return false;
}

// Not every file system can keep from replacing: a second name for the file can, then; where there
// are no second names either, a look before has to do.
bool NewFile::Rename(unsigned int flags)
{
    const char* temporary = temporary_.constData();
    int result = flags == 0 ? renameat(directory_, temporary, directory_, name_)
                            : renameat2(directory_, temporary, directory_, name_, flags);
    if (result != 0 && flags != 0 && (errno == EINVAL || errno == ENOSYS)) {
        if (linkat(directory_, temporary, directory_, name_, 0) == 0)
            return true;
        struct stat status = {};
        if (errno != EEXIST && fstatat(directory_, name_, &status, AT_SYMLINK_NOFOLLOW) != 0 &&
            errno == ENOENT)
            result = renameat(directory_, temporary, directory_, name_);
    }
    if (result == 0)
        temporary_.clear();
    return result == 0;
}

// A temporary file without a lock was left behind by a crash. Whoever has the lock of the file that
// has the name, and no one else, may take the name away.
bool NewFile::ClearTemporary() const
{
    const QByteArray name = TemporaryName(name_);
    const Descriptor found(
        openat(directory_, name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!found)
        return errno == ENOENT || Busy();
    if (flock(found.Number(), LOCK_EX | LOCK_NB) != 0 || !IsFile(found.Number(), directory_, name))
        return Busy();
    return unlinkat(directory_, name.constData(), 0) == 0 || errno == ENOENT;
}

} // namespace common
