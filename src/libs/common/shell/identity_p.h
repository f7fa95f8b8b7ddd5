#pragma once

#include <sys/stat.h>

namespace common {

/** What a file or directory keeps wherever it is moved. */
struct Identity
{
    dev_t device = 0;
    ino_t inode = 0; ///< 0: unknown, as of what is not there

    Identity() = default;
    explicit Identity(const struct stat& status) : device(status.st_dev), inode(status.st_ino) {}
    bool IsKnown() const { return inode != 0; }
    bool operator==(const Identity& other) const
    {
        return device == other.device && inode == other.inode;
    }
    bool operator<(const Identity& other) const
    {
        return device != other.device ? device < other.device : inode < other.inode;
    }
};

} // namespace common
