#pragma once

#include "common/shell/descriptor_p.h"
#include "common/shell/opendirectories_p.h"

#include <vector>

namespace common {

/**
 * Has what a job wrote on the disk before it ends: of a small job each file, and then its directory,
 * with which a file system that keeps a journal writes the new directories above, too; of a larger
 * one all that is in the file systems, which costs the same however many files it is.
 */
class DiskFlush
{
public:
    explicit DiskFlush(size_t items);

    /** Whether each file is to be flushed by itself. */
    bool IsForEach() const { return isForEach_; }
    /** Something was made in that directory. */
    void Remember(const Identity& directory, int descriptor);
    /** Waits for the disk. Whether all went well; otherwise errno tells. */
    bool Finish();

private:
    struct Written
    {
        Identity directory;
        Descriptor descriptor;
    };

    bool isForEach_;
    std::vector<Written> written_;
};

} // namespace common
