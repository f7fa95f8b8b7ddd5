#include "common/tools/qcompressor.h"

#include "common/tools/arraysize_p.h"
#include "common/tools/gunzip_p.h"

#include <algorithm>
#include <new>

#include <zlib.h>

namespace tools {

namespace {

constexpr int gzipWindowBits = 15 + 16; // 32 KiB window, gzip wrapper
constexpr int memoryLevel = 8;

using Step = int (*)(z_streamp, int flush);

// A zlib stream together with the functions that work and end it.
struct Stream
{
    Step step;
    int (*end)(z_streamp);
    z_stream z = {};

    ~Stream() { end(&z); }
};

// How large the whole output will be, as far as the ratio up to here can tell. The input decides
// the ratio, and may come from an attacker, so the buffer grows in bounded steps; in few steps,
// because each may copy it. Memory beyond the output is not touched, and given back if it is much.
int NextSize(qint64 produced, qint64 consumed, qint64 inputSize, int maxSize)
{
    constexpr int firstSize = 1 << 16;
    if (produced == 0)
        return static_cast<int>(std::min<qint64>({4 * inputSize + 64, firstSize, maxSize}));
    const qint64 expected = produced * inputSize / qMax<qint64>(consumed, 1);
    const qint64 size = qBound(produced + produced / 4, expected + expected / 8, 32 * produced);
    return static_cast<int>(qMin<qint64>(size, maxSize));
}

// Straight from the input into the output: zlib copies its window at the end of each call. Ends
// with what was made in the output, be it in a call that failed.
bool Run(Stream& stream, const QByteArray& input, QByteArray& output, int maxSize)
{
    if (input.size() > maxArraySize)
        return false;
    z_stream& z = stream.z;
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.constData())); // only read
    z.avail_in = static_cast<uInt>(input.size());
    int result = Z_OK;
    while ((result == Z_OK || result == Z_BUF_ERROR) && z.avail_out == 0 &&
           output.size() < maxSize) {
        const qsizetype produced = output.size();
        const int size = NextSize(produced, input.size() - z.avail_in, input.size(), maxSize);
        output.reserve(size);
        output.resize(size);
        z.next_out = reinterpret_cast<Bytef*>(output.data() + produced);
        z.avail_out = static_cast<uInt>(size - produced);
        result = stream.step(&z, Z_FINISH);
        output.resize(size - static_cast<int>(z.avail_out));
    }
    if (output.capacity() - output.size() > output.size() / 4)
        output.squeeze();
    return result == Z_STREAM_END;
}

bool Deflate(const QByteArray& input, QByteArray& output, int level)
{
    Stream stream{deflate, deflateEnd};
    return deflateInit2(&stream.z, qBound(-1, level, 9), Z_DEFLATED, gzipWindowBits, memoryLevel,
                        Z_DEFAULT_STRATEGY) == Z_OK &&
           Run(stream, input, output, maxArraySize);
}

bool Inflate(const QByteArray& input, QByteArray& output, int maxSize)
{
    Stream stream{inflate, inflateEnd};
    return inflateInit2(&stream.z, gzipWindowBits) == Z_OK && Run(stream, input, output, maxSize);
}

// QByteArray reports exhausted memory by an exception.
template <typename Operation>
bool WithoutException(Operation operation)
{
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace

bool QCompressor::gzipCompress(const QByteArray& input, QByteArray& output, int level)
{
    const QByteArray source = input; // the output may be the same array
    output.clear();
    return source.isEmpty() || WithoutException([&] { return Deflate(source, output, level); });
}

bool QCompressor::gzipDecompress(const QByteArray& input, QByteArray& output)
{
    return Gunzip(input, output, maxArraySize - 1) == GunzipResult::Done;
}

GunzipResult Gunzip(const QByteArray& input, QByteArray& output, int maxSize)
{
    const QByteArray source = input; // the output may be the same array
    output.clear();
    const bool done =
        source.isEmpty() || WithoutException([&] { return Inflate(source, output, maxSize + 1); });
    if (output.size() > maxSize) {
        output.truncate(maxSize);
        return GunzipResult::TooLarge;
    }
    return done ? GunzipResult::Done : GunzipResult::Damaged;
}

} // namespace tools
