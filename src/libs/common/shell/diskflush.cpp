#include "common/shell/diskflush_p.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>

namespace common {

namespace {

constexpr size_t manyItems = 64;

} // namespace

DiskFlush::DiskFlush(size_t items) : isForEach_(items < manyItems)
{
}

void DiskFlush::Remember(const Identity& directory, int descriptor)
{
    const auto isKnown = [&](const Written& written) {
        return written.directory.device == directory.device &&
               (!isForEach_ || written.directory.inode == directory.inode);
    };
    if (!std::any_of(written_.crbegin(), written_.crend(), isKnown))
        written_.push_back(
            {directory, Descriptor(openat(descriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC))});
}

bool DiskFlush::Finish()
{
    for (const Written& written : written_) {
        const int descriptor = written.descriptor.Number();
        if (!written.descriptor)
            sync(); // the directory can be written, but not read
        else if ((isForEach_ ? fsync(descriptor) : syncfs(descriptor)) != 0 && errno != EINVAL)
            return false; // EINVAL: the file system cannot flush directories
    }
    return true;
}

} // namespace common
