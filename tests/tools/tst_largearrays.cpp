#include <common/tools/cipher/aes.h>
#include <common/tools/jsonfile.h>
#include <common/tools/qcompressor.h>

#include <QtTest>

#include <limits>

#include <sys/mman.h>

using tools::QCompressor;
using tools::cipher::AES;

// What Qt 5's byte array cannot hold is refused with every version of Qt.
class TestLargeArrays : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void bytes()
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

    void jsonFile()
    {
        if (!qEnvironmentVariableIsSet("QVCOMMON_LONG_TESTS"))
            QSKIP("needs 6 GiB of memory");
        const QTemporaryDir directory;
        const QString text(400'000'000, QChar(1)); // each of which is written as six characters
        QVERIFY(!tools::JsonFile(directory.filePath("f"), QJsonObject{{"text", text}}).Save());
        QVERIFY(!QFile::exists(directory.filePath("f")));
    }
};

QTEST_GUILESS_MAIN(TestLargeArrays)
#include "tst_largearrays.moc"
