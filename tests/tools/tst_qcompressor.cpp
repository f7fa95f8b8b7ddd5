#include <common/tools/cipher/aes.h>
#include <common/tools/qcompressor.h>

#include "support/process.h"

#include <QtTest>

#include <limits>

#include <sys/mman.h>
#include <unistd.h>

using tools::QCompressor;
using tools::cipher::AES;

namespace {

QByteArray RandomBytes(int size)
{
    std::vector<quint32> numbers(static_cast<size_t>(size) / 4 + 1);
    QRandomGenerator(7).fillRange(numbers.data(), static_cast<qsizetype>(numbers.size()));
    return QByteArray(reinterpret_cast<const char*>(numbers.data()), size);
}

QByteArray Compressed(const QByteArray& data, int level = 9)
{
    QByteArray packed;
    return QCompressor::gzipCompress(data, packed, level) ? packed : QByteArray("failed");
}

} // namespace

class TestQCompressor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Around the sizes of buffers, and back by another program's work.
    void roundTrip()
    {
        QList<QByteArray> contents{"", "x"};
        for (const int size : {65535, 65536, 1000000})
            contents << RandomBytes(size) << QByteArray(size, '\0');
        for (const QByteArray& content : contents) {
            for (const int level : {-1, 0, 9}) {
                const QByteArray packed = Compressed(content, level);
                QCOMPARE(packed.isEmpty(), content.isEmpty());
                QVERIFY(packed.isEmpty() || OutputOf("gzip", {"-dc"}, packed) == content);
                QByteArray unpacked = packed; // the output may be the input
                QVERIFY(QCompressor::gzipDecompress(unpacked, unpacked));
                QCOMPARE(unpacked, content);
            }
            QByteArray unpacked;
            QVERIFY(QCompressor::gzipDecompress(OutputOf("gzip", {"-c"}, content), unpacked));
            QCOMPARE(unpacked, content);
        }
    }

    void levelIsClamped()
    {
        const QByteArray data = QByteArray("repeated text ").repeated(9000) + RandomBytes(5000);
        QCOMPARE(Compressed(data, 42), Compressed(data, 9));
        QCOMPARE(Compressed(data, -7), Compressed(data, -1));
        QVERIFY(Compressed(data, 0) != Compressed(data, -1));
    }

    void decompress()
    {
        const QByteArray data = RandomBytes(100000);
        const QByteArray packed = Compressed(data);
        QByteArray damaged = packed;
        damaged[damaged.size() - 6] = static_cast<char>(~damaged[damaged.size() - 6]);
        const std::tuple<QByteArray, bool, QByteArray> rows[] = {
            {qCompress(data).mid(4), false, {}},                                // of zlib
            {"no gzip at all", false, {}},       {damaged, false, data},        // its checksum
            {packed.chopped(4), false, data},    {packed + packed, true, data}, // two members
            {packed + "rest", true, data}};
        for (const auto& [input, result, output] : rows) {
            QByteArray actual = "old";
            QCOMPARE(QCompressor::gzipDecompress(input, actual), result);
            QCOMPARE(actual, output);
        }
    }

    // More than two GiB of zeros: a block that refers to nothing before it, repeated.
    void outputBeyondByteArrayIsRefused()
    {
        if (sysconf(_SC_AVPHYS_PAGES) < (6ll << 30) / sysconf(_SC_PAGESIZE))
            QSKIP("needs 6 GiB of free memory");
        const QString bomb =
            "import sys, zlib; z = zlib.compressobj(9, zlib.DEFLATED, 31); "
            "block = lambda: z.compress(bytes(1 << 20)) + z.flush(zlib.Z_FULL_FLUSH); "
            "sys.stdout.buffer.write(block() + block() * 2100)";
        QByteArray output;
        QVERIFY(!QCompressor::gzipDecompress(OutputOf("python3", {"-c", bomb}), output));
    }

    // What Qt 5's byte array cannot hold is refused with every version of Qt, by the cipher, too.
    void largeInput()
    {
        using Size = decltype(QByteArray().size());
        constexpr qint64 size = Q_INT64_C(1) << 31;
        if (size > std::numeric_limits<Size>::max())
            QSKIP("there are none with this version of Qt");
        void* memory = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        const auto large = QByteArray::fromRawData(static_cast<const char*>(memory), Size(size));
        QByteArray output = "old";
        QVERIFY(!QCompressor::gzipCompress(large, output, 1));
        QCOMPARE(output, QByteArray());
        output = "old";
        QCOMPARE(AES::crypt("key", large, output, 1), QByteArray("old"));
        QCOMPARE(AES::encrypt("key", large, output), QByteArray());
        munmap(memory, size);
    }
};

QTEST_GUILESS_MAIN(TestQCompressor)
#include "tst_qcompressor.moc"
