#include <common/tools/qcompressor.h>

#include "support/cases.h"
#include "support/process.h"

#include <QRandomGenerator>

#include <unistd.h>
#include <zlib.h>

using tools::QCompressor;

namespace {

QByteArray RandomBytes(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator random(7);
    for (char& byte : bytes)
        byte = static_cast<char>(random.generate());
    return bytes;
}

QByteArray Compressed(const QByteArray& data, int level = 9)
{
    QByteArray packed;
    return QCompressor::gzipCompress(data, packed, level) ? packed : QByteArray("failed");
}

// A gzip stream of so many MiB of zeros, without its end: one flushed block, repeated.
QByteArray ZeroBomb(int mebibytes)
{
    z_stream z = {};
    deflateInit2(&z, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    QByteArray zeros(1 << 20, '\0');
    QByteArray block(1 << 16, Qt::Uninitialized);
    z.next_in = reinterpret_cast<Bytef*>(zeros.data());
    z.avail_in = static_cast<uInt>(zeros.size());
    z.next_out = reinterpret_cast<Bytef*>(block.data());
    z.avail_out = static_cast<uInt>(block.size());
    deflate(&z, Z_FULL_FLUSH);
    block.chop(static_cast<int>(z.avail_out));
    deflateEnd(&z);
    return Compressed("x").left(10) + block.repeated(mebibytes);
}

struct DecompressCase
{
    const char* name;
    QByteArray input;
    bool result;
    QByteArray output = {};
};

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

    void decompress_data()
    {
        const QByteArray data = RandomBytes(100000);
        const QByteArray packed = Compressed(data);
        QByteArray damaged = packed;
        damaged[damaged.size() - 6] = static_cast<char>(~damaged[damaged.size() - 6]);
        AddCases<DecompressCase>({{"zlib stream", qCompress(data).mid(4), false},
                                  {"plain text", "no gzip at all", false},
                                  {"damaged checksum", damaged, false, data},
                                  {"cut trailer", packed.chopped(4), false, data},
                                  {"two members", packed + packed, true, data},
                                  {"trailing bytes", packed + "rest", true, data}});
    }

    void decompress()
    {
        const auto& row = CurrentCase<DecompressCase>();
        QByteArray actual = "old";
        QCOMPARE(QCompressor::gzipDecompress(row.input, actual), row.result);
        QCOMPARE(actual, row.output);
    }

    void outputBeyondByteArrayIsRefused()
    {
        QByteArray output;
        if (sysconf(_SC_AVPHYS_PAGES) < (6ll << 30) / sysconf(_SC_PAGESIZE))
            QSKIP("needs 6 GiB of free memory");
        QVERIFY(!QCompressor::gzipDecompress(ZeroBomb(2100), output));
        output.clear();
        QVERIFY(!QCompressor::gzipDecompress(ZeroBomb(10), output)); // no end, but it fits
        QCOMPARE(output.size(), 10 << 20);
    }
};

QTEST_GUILESS_MAIN(TestQCompressor)
#include "tst_qcompressor.moc"
