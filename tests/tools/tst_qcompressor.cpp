#include <common/tools/qcompressor.h>

#include "support/process.h"

#include <QRandomGenerator>
#include <QtTest>

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

} // namespace

class TestQCompressor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTrip_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("one byte") << QByteArray("x");
        for (const int size : {32767, 32768, 32769, 65536, 1000000}) {
            QTest::addRow("random %d", size) << RandomBytes(size);
            QTest::addRow("zeros %d", size) << QByteArray(size, '\0');
        }
    }

    void roundTrip()
    {
        QFETCH(QByteArray, data);
        for (const int level : {-1, 0, 1, 9}) {
            const QByteArray packed = Compressed(data, level);
            QCOMPARE(OutputOf("gzip", {"-dc"}, packed), data);
            QByteArray unpacked = packed;
            QVERIFY(QCompressor::gzipDecompress(unpacked, unpacked));
            QCOMPARE(unpacked, data);
        }
        QByteArray unpacked;
        QVERIFY(QCompressor::gzipDecompress(OutputOf("gzip", {"-c"}, data), unpacked));
        QCOMPARE(unpacked, data);
    }

    void levelIsClamped()
    {
        const QByteArray data = QByteArray("repeated text ").repeated(9000) + RandomBytes(5000);
        QCOMPARE(Compressed(data, 42), Compressed(data, 9));
        QCOMPARE(Compressed(data, -7), Compressed(data, -1));
        QVERIFY(Compressed(data, 0) != Compressed(data, -1));
    }

    void emptyGivesEmpty()
    {
        QByteArray output = "old";
        QVERIFY(QCompressor::gzipCompress({}, output, 9) && output.isEmpty());
        output = "old";
        QVERIFY(QCompressor::gzipDecompress({}, output) && output.isEmpty());
    }

    void decompress_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QByteArray>("output");
        const QByteArray data = RandomBytes(100000);
        const QByteArray packed = Compressed(data);
        QByteArray damaged = packed;
        damaged[damaged.size() - 6] = static_cast<char>(~damaged[damaged.size() - 6]);
        QTest::newRow("zlib stream") << qCompress(data).mid(4) << false << QByteArray();
        QTest::newRow("plain text") << QByteArray("no gzip at all") << false << QByteArray();
        QTest::newRow("damaged checksum") << damaged << false << data;
        QTest::newRow("cut trailer") << packed.chopped(4) << false << data;
        QTest::newRow("two members") << packed + packed << true << data;
        QTest::newRow("trailing bytes") << packed + "rest" << true << data;
        QTest::newRow("empty member") << OutputOf("gzip", {"-c"}) << true << QByteArray();
    }

    void decompress()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, output);
        QByteArray actual = "old";
        QTEST(QCompressor::gzipDecompress(input, actual), "result");
        QCOMPARE(actual, output);
    }

    void cutStreamKeepsWhatWasDecoded()
    {
        const QByteArray data = RandomBytes(200000);
        const QByteArray packed = Compressed(data);
        QByteArray output;
        QVERIFY(!QCompressor::gzipDecompress(packed.left(packed.size() / 2), output));
        QVERIFY(output.size() > 90000);
        QCOMPARE(output, data.left(output.size()));
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
