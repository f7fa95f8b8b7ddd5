#include "qtsingleapplication/qtlockedfile.h"

#include <cerrno>

#include <fcntl.h>

namespace {

short LockType(QtLockedFile::LockMode mode)
{
    switch (mode) {
    case QtLockedFile::ReadLock:
        return F_RDLCK;
    case QtLockedFile::WriteLock:
        return F_WRLCK;
    default:
        return F_UNLCK;
    }
}

bool EmptiesFile(QIODevice::OpenMode mode)
{
    constexpr auto kept = QIODevice::ReadOnly | QIODevice::Append | QIODevice::NewOnly;
    return (mode & QIODevice::Truncate) || ((mode & QIODevice::WriteOnly) && !(mode & kept));
}

} // namespace

QtLockedFile::QtLockedFile() = default;

QtLockedFile::QtLockedFile(const QString& name) : QFile(name)
{
}

QtLockedFile::~QtLockedFile()
{
    close();
}

bool QtLockedFile::open(OpenMode mode)
{
    if (EmptiesFile(mode)) {
        qWarning("QtLockedFile::open(): a mode that truncates the file is refused");
        return false;
    }
    return QFile::open(mode);
}

void QtLockedFile::close()
{
    if (isLocked())
        unlock(); // a forked child keeps the file open
    QFile::close();
}

bool QtLockedFile::lock(LockMode mode, bool block)
{
    if (!isOpen()) {
        qWarning("QtLockedFile::lock(): the file is not open");
        return false;
    }
    if (mode == mode_)
        return true;
    flush(); // before others may read it
    struct flock request = {};
    request.l_type = LockType(mode);
    request.l_whence = SEEK_SET;
    int result = 0;
    do
        result = fcntl(handle(), block ? F_OFD_SETLKW : F_OFD_SETLK, &request);
    while (result < 0 && errno == EINTR);
    if (result == 0)
        mode_ = mode;
    return result == 0;
}

bool QtLockedFile::unlock()
{
    return lock(NoLock);
}

bool QtLockedFile::isLocked() const
{
    return mode_ != NoLock;
}

QtLockedFile::LockMode QtLockedFile::lockMode() const
{
    return mode_;
}
