#pragma once

#include <QByteArray>

namespace tools {

enum class GunzipResult {
    Done,
    Damaged, ///< the output is what could be decompressed before the damage
    TooLarge ///< the output is the first bytes, as many as are allowed
};

/**
 * Decompresses the first gzip member of @p input, but no more than @p maxSize bytes of it, which
 * must be below INT_MAX.
 */
GunzipResult Gunzip(const QByteArray& input, QByteArray& output, int maxSize);

} // namespace tools
