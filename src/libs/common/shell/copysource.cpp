#include "common/shell/copysource_p.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>
#include <sys/mman.h>

namespace common {

namespace {

constexpr mode_t resourcePermissions = 0444;

} // namespace

int Place::OpenDirectory() const
{
    return directories ? directories->Open(directory) : AT_FDCWD;
}

bool Place::Look(struct stat* status) const
{
    return fstatat(OpenDirectory(), name, status, AT_SYMLINK_NOFOLLOW) == 0;
}

CopySource::CopySource(Kind kind, const Place& place, const QString& path)
    : kind_(kind), place_(place), path_(path)
{
}

CopySource::State CopySource::Open()
{
    const State looked = kind_ == Special ? Unfit : kind_ == Given ? LookAtGiven() : Ready;
    if (looked != Ready)
        return looked;
    const State opened = kind_ == OfQt ? OpenByQt() : OpenNative();
    if (opened != Ready)
        Close();
    return opened;
}

CopySource::State CopySource::OpenByQt()
{
    const QFileInfo info(path_);
    if (!info.exists())
        return Missing;
    if (!info.isFile())
        return Unfit;
    QFile file(path_);
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    descriptor_ = Descriptor(memfd_create("resource", MFD_CLOEXEC));
    if (content.size() != info.size() ||
        write(Number(), content.constData(), size_t(content.size())) != content.size() ||
        lseek(Number(), 0, SEEK_SET) != 0 || fstat(Number(), &status_) != 0)
        return Failed;
    status_.st_mode = S_IFREG | resourcePermissions;
    return Ready;
}

CopySource::State CopySource::LookAtGiven()
{
    if (!place_.Look(&status_))
        return Missing;
    if (S_ISLNK(status_.st_mode) && stat(place_.name, &status_) != 0)
        return Unfit;
    return S_ISREG(status_.st_mode) ? Ready : Unfit;
}

CopySource::State CopySource::OpenNative()
{
    const int directory = place_.OpenDirectory();
    const int links = kind_ == Found ? O_NOFOLLOW : 0;
    if (directory != -1)
        descriptor_ = Descriptor(
            openat(directory, place_.name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | links));
    if (!descriptor_ && errno == ENOENT)
        return Missing;
    if (!descriptor_) {
        if (kind_ == Found)
            place_.Look(&status_);
        return Failed;
    }
    return fstat(Number(), &status_) == 0 && S_ISREG(status_.st_mode) ? Ready : Unfit;
}

bool CopySource::IsSame(const Place& other) const
{
    struct stat status = {};
    return fstatat(other.OpenDirectory(), other.name, &status, 0) == 0 &&
           Identity(status) == Identity(status_);
}

} // namespace common
