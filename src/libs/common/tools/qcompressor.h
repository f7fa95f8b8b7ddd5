#pragma once

#include "common/qvcommon_export.h"

#include <QByteArray>

namespace tools {

/**
 * Gzip (RFC 1952) in memory. Stateless; any thread. Failures are the result only: nothing is
 * logged or thrown.
 *
 * @code
 * QByteArray packed;
 * if (tools::QCompressor::gzipCompress(bytes, packed, 9))
 *     Send(packed);
 * @endcode
 *
 * In both operations @p output is cleared first, may be the same array as @p input, and on failure
 * holds what was produced so far: all that could be unpacked, up to the damage.
 */
class QVCOMMON_EXPORT QCompressor
{
public:
    QCompressor() = delete;

    /**
     * Compresses @p input into one gzip member. An empty input gives an empty output.
     *
     * @param input  any bytes
     * @param output the gzip stream
     * @param level  0 (store) to 9 (smallest), -1 for zlib's default; values beyond are clamped
     */
    static bool gzipCompress(const QByteArray& input, QByteArray& output, int level);

    /**
     * Decompresses the first gzip member of @p input; what follows it is ignored. An empty input
     * gives an empty output.
     *
     * False for anything else than gzip (zlib and raw deflate streams among it), for damaged or
     * cut data, and when the result does not fit into a QByteArray (2 GiB) or into memory.
     */
    static bool gzipDecompress(const QByteArray& input, QByteArray& output);
};

} // namespace tools
