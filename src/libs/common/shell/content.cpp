#include "common/shell/content_p.h"

#include <cerrno>
#include <limits>

#include <fcntl.h>
#include <unistd.h>

namespace common {

namespace {

constexpr qint64 bufferSize = 262144;
constexpr qint64 pieceSize = 1048576;
constexpr qint64 maxOnItsWay = 16 * pieceSize; // to the disk
constexpr qint64 toTheEnd = std::numeric_limits<qint64>::max();
constexpr qint64 blockSize = 512; // that of st_blocks, everywhere

bool WriteTo(int file, const char* data, qint64 size)
{
    while (size > 0) {
        const ssize_t count = write(file, data, size_t(size));
        if (count < 0 && errno != EINTR)
            return false;
        data += qMax<ssize_t>(count, 0);
        size -= qMax<ssize_t>(count, 0);
    }
    return true;
}

// Begins to write a part to the disk, and is done with one that was begun a while ago: when the
// copying is aborted, all that is on its way has to be waited for, and all that is in memory freed.
void WriteBack(int file, qint64 from, qint64 size)
{
    sync_file_range(file, from, size, SYNC_FILE_RANGE_WRITE);
    const qint64 before = from - maxOnItsWay;
    if (before < 0)
        return;
    sync_file_range(file, before, size,
                    SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE |
                        SYNC_FILE_RANGE_WAIT_AFTER);
    posix_fadvise(file, before, size, POSIX_FADV_DONTNEED);
}

} // namespace

bool Content::Copy(int source, const struct stat& status, int destination)
{
    const bool hasHoles = status.st_blocks < status.st_size / blockSize;
    if (hasHoles && (lseek(source, 0, SEEK_DATA) >= 0 || errno == ENXIO))
        return CopyAround(source, destination, status.st_size);
    // Some files of the kernel have no size; for others a read more is a third of all of them.
    return CopyPart(source, destination, status.st_size > 0 ? status.st_size : toTheEnd);
}

bool Content::CopyPart(int source, int destination, qint64 size)
{
    usesKernel_ = size >= pieceSize && size != toTheEnd; // pays for large files only
    qint64 pending = 0;
    while (size > 0) {
        const qint64 count = CopySome(source, destination, qMin(pieceSize, size));
        if (count <= 0)
            return count == 0;
        if (!report_(count))
            return false;
        size -= count;
        pending += count;
        if (pending >= pieceSize) {
            WriteBack(destination, lseek(destination, 0, SEEK_CUR) - pending, pending);
            pending = 0;
        }
    }
    return true;
}

qint64 Content::CopySome(int source, int destination, qint64 size)
{
    if (usesKernel_) {
        const ssize_t count =
            copy_file_range(source, nullptr, destination, nullptr, size_t(size), 0);
        if (count > 0)
            return count;
        usesKernel_ = false; // not between all file systems, and not from some files of the kernel
    }
    if (!buffer_)
        buffer_.reset(new char[bufferSize]);
    ssize_t count = 0;
    do {
        count = read(source, buffer_.get(), size_t(qMin(bufferSize, size)));
    } while (count < 0 && errno == EINTR);
    return count > 0 && !WriteTo(destination, buffer_.get(), count) ? -1 : count;
}

bool Content::CopyAround(int source, int destination, qint64 size)
{
    qint64 end = 0;
    for (;;) {
        const qint64 begin = lseek(source, end, SEEK_DATA);
        if (begin < 0)
            break;
        if (!report_(begin - end))
            return false;
        end = lseek(source, begin, SEEK_HOLE);
        if (end < 0 || lseek(source, begin, SEEK_SET) < 0 ||
            lseek(destination, begin, SEEK_SET) < 0 || !CopyPart(source, destination, end - begin))
            return false;
        // It became shorter; files of /sys are shorter than they say.
        const qint64 reached = lseek(destination, 0, SEEK_CUR);
        if (reached < end)
            return ftruncate(destination, reached) == 0;
    }
    return errno == ENXIO && report_(qMax<qint64>(size - end, 0)) &&
           ftruncate(destination, qMax(size, end)) == 0;
}

} // namespace common
