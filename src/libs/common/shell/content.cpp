#include "common/shell/content_p.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace common {

namespace {

constexpr qint64 bufferSize = 256 * 1024;
constexpr qint64 writeBackSize = 1024 * 1024; // what is on its way to the disk need not be awaited
constexpr qint64 blockSize = 512;             // that of st_blocks, everywhere

qint64 ReadFrom(int file, char* data, qint64 size)
{
    ssize_t count = 0;
    do {
        count = read(file, data, size_t(size));
    } while (count < 0 && errno == EINTR);
    return count;
}

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

} // namespace

bool Content::Copy(int source, const struct stat& status, int destination)
{
    const bool hasHoles = status.st_blocks < status.st_size / blockSize;
    if (hasHoles && (lseek(source, 0, SEEK_DATA) >= 0 || errno == ENXIO))
        return CopyAround(source, destination, status.st_size);
    const auto read = [source](char* data, qint64 size) {
        return ReadFrom(source, data, size);
    };
    // Some files of the kernel have no size; for others a read more is a third of all of them.
    return Copy(read, destination, status.st_size > 0 ? status.st_size : toTheEnd);
}

bool Content::CopyAround(int source, int destination, qint64 size)
{
    const auto read = [source](char* data, qint64 count) {
        return ReadFrom(source, data, count);
    };
    qint64 end = 0;
    for (;;) {
        const qint64 begin = lseek(source, end, SEEK_DATA);
        if (begin < 0)
            break;
        if (!report_(begin - end))
            return false;
        end = lseek(source, begin, SEEK_HOLE);
        if (end < 0 || lseek(source, begin, SEEK_SET) < 0 ||
            lseek(destination, begin, SEEK_SET) < 0 || !Copy(read, destination, end - begin))
            return false;
    }
    return errno == ENXIO && report_(qMax<qint64>(size - end, 0)) &&
           ftruncate(destination, qMax(size, end)) == 0;
}

bool Content::Copy(const Reader& read, int destination, qint64 size)
{
    if (!buffer_)
        buffer_.reset(new char[bufferSize]);
    qint64 pending = 0;
    while (size > 0) {
        const qint64 count = read(buffer_.get(), qMin(bufferSize, size));
        if (count == 0)
            return true;
        if (count < 0 || !WriteTo(destination, buffer_.get(), count) || !report_(count))
            return false;
        size -= count;
        pending += count;
        if (pending >= writeBackSize) {
            sync_file_range(destination, lseek(destination, 0, SEEK_CUR) - pending, pending,
                            SYNC_FILE_RANGE_WRITE);
            pending = 0;
        }
    }
    return true;
}

} // namespace common
