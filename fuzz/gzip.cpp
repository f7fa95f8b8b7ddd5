// Decompresses any bytes, and streams that were whole before they were damaged, against zlib in a
// single call.
#include "fuzz.h"

#include <common/tools/qcompressor.h>

#include <zlib.h>

using tools::QCompressor;

namespace {

// Against the first member, which is never larger than the room for an input so small.
void TryDecompress(const QByteArray& input)
{
    QByteArray output = "old";
    const bool result = QCompressor::gzipDecompress(input, output);
    if (input.isEmpty()) {
        EXPECT(result && output.isEmpty());
        return;
    }
    static QByteArray room(1 << 26, Qt::Uninitialized);
    z_stream z = {};
    EXPECT(inflateInit2(&z, 15 + 16) == Z_OK);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.constData()));
    z.avail_in = static_cast<uInt>(input.size());
    z.next_out = reinterpret_cast<Bytef*>(room.data());
    z.avail_out = static_cast<uInt>(room.size());
    const bool complete = inflate(&z, Z_NO_FLUSH) == Z_STREAM_END;
    inflateEnd(&z);
    const int size = room.size() - static_cast<int>(z.avail_out);
    EXPECT(z.avail_out > 0 && result == complete);
    EXPECT(result ? output.size() == size : output.size() <= size);
    EXPECT(room.startsWith(output));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    if (input.ConsumeIntegralInRange(0, 2) == 0) {
        TryDecompress(Rest(input));
        return 0;
    }

    // Beyond the size of the buffers that the library works with, now and then.
    const int level = input.ConsumeIntegralInRange(-2, 10);
    const int repetitions = input.ConsumeIntegralInRange(0, 15) ? 1 : 40;
    const int damage = input.ConsumeIntegralInRange(0, 255);
    const int place = input.ConsumeIntegralInRange(0, 1 << 20);
    const QByteArray bytes = Rest(input).repeated(repetitions);
    QByteArray packed = "old";
    EXPECT(QCompressor::gzipCompress(bytes, packed, level));
    EXPECT(packed.isEmpty() == bytes.isEmpty());
    TryDecompress(packed + packed.left(damage));
    if (packed.isEmpty())
        return 0;

    const int at = place % packed.size();
    TryDecompress(packed.left(at));
    packed[at] = static_cast<char>(packed[at] ^ damage);
    TryDecompress(packed);
    return 0;
}
