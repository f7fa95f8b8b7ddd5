#include "common/tools/qcompressor.h"

#include <limits>
#include <new>

#include <zlib.h>

namespace tools {

namespace {

constexpr int chunkSize = 32768;
// What a QByteArray can hold, its header and final zero allowed for.
constexpr int maxOutputSize = std::numeric_limits<int>::max() - 64;
constexpr int gzipWindowBits = 15 + 16; // 32 KiB window, gzip wrapper
constexpr int memoryLevel = 8;

// A zlib stream together with the function that ends it.
class Stream
{
public:
    explicit Stream(int (*end)(z_streamp)) : end_(end) {}
    ~Stream() { end_(&z_); }
    z_streamp operator->() { return &z_; }
    z_streamp Get() { return &z_; }

    void SetInput(const QByteArray& input, qint64 offset)
    {
        // zlib never writes through next_in.
        z_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.constData() + offset));
        z_.avail_in = static_cast<uInt>(qMin<qint64>(chunkSize, input.size() - offset));
    }

    // Calls step with fresh room for output until it is not filled; returns its last result. What a
    // failed call has written is not kept. An output that grows too large counts as failed memory.
    template <typename Step, typename Failed>
    int Drain(QByteArray& output, Step step, Failed failed)
    {
        int result = Z_OK;
        do {
            const int size = output.size();
            if (size > maxOutputSize - chunkSize)
                return Z_MEM_ERROR;
            output.resize(size + chunkSize);
            z_.next_out = reinterpret_cast<Bytef*>(output.data() + size);
            z_.avail_out = chunkSize;
            result = step(&z_);
            output.resize(failed(result) ? size
                                         : size + chunkSize - static_cast<int>(z_.avail_out));
            if (failed(result))
                return result;
        } while (z_.avail_out == 0);
        return result;
    }

    Q_DISABLE_COPY_MOVE(Stream)

private:
    z_stream z_ = {};
    int (*end_)(z_streamp);
};

bool Deflate(const QByteArray& input, QByteArray& output, int level)
{
    Stream stream(deflateEnd);
    if (deflateInit2(stream.Get(), qBound(-1, level, 9), Z_DEFLATED, gzipWindowBits, memoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        return false;

    const auto failed = [](int result) {
        return result == Z_STREAM_ERROR;
    };
    int result = Z_OK;
    for (qint64 offset = 0; offset < input.size(); offset += chunkSize) {
        stream.SetInput(input, offset);
        const int flush = input.size() - offset <= chunkSize ? Z_FINISH : Z_NO_FLUSH;
        result = stream.Drain(
            output, [flush](z_streamp z) { return deflate(z, flush); }, failed);
        if (failed(result))
            return false;
    }
    return result == Z_STREAM_END;
}

bool Inflate(const QByteArray& input, QByteArray& output)
{
    Stream stream(inflateEnd);
    if (inflateInit2(stream.Get(), gzipWindowBits) != Z_OK)
        return false;

    const auto failed = [](int result) {
        return result == Z_NEED_DICT || result == Z_DATA_ERROR || result == Z_STREAM_ERROR ||
               result == Z_MEM_ERROR;
    };
    for (qint64 offset = 0; offset < input.size(); offset += chunkSize) {
        stream.SetInput(input, offset);
        const int result = stream.Drain(
            output, [](z_streamp z) { return inflate(z, Z_NO_FLUSH); }, failed);
        if (failed(result))
            return false;
        if (result == Z_STREAM_END)
            return true;
    }
    return false;
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
    const QByteArray source = input; // the output may be the same array
    output.clear();
    return source.isEmpty() || WithoutException([&] { return Inflate(source, output); });
}

} // namespace tools
