#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>

#include <sys/stat.h>

namespace common {

/** Copies the content of files, large ones piece by piece. */
class Content
{
public:
    /** Is told how many bytes were copied; with its result false the copying ends. */
    using Report = std::function<bool(qint64)>;

    explicit Content(Report report) : report_(std::move(report)) {}

    /** From a file with that status to an empty one. What are holes there are holes in the copy. */
    bool Copy(int source, const struct stat& status, int destination);

private:
    bool CopyPart(int source, int destination, qint64 size);
    bool CopyAround(int source, int destination, qint64 size);
    /** Copies some of the next bytes, and tells how many; 0 at the end, negative for a failure. */
    qint64 CopySome(int source, int destination, qint64 size);

    Report report_;
    bool usesKernel_ = false;
    std::unique_ptr<char[]> buffer_;
};

} // namespace common
