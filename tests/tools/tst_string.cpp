#include <common/tools/string/converter.h>
#include <common/tools/string/splitter.h>

#include "support/process.h"

#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QtTest>

using namespace tools::string;

namespace {

// The rule as it is defined, measuring each piece anew.
QStringList Utf8ByTheRule(const QString& text, int maxBytes)
{
    QStringList pieces;
    QString piece;
    for (int i = 0; i < text.size();) {
        piece += text[i];
        const int size = piece.size() < maxBytes / 2 ? -1 : piece.toUtf8().size();
        if (size > maxBytes) {
            piece.chop(1);
            pieces << piece;
            piece.clear();
            continue;
        }
        ++i;
        if (size == maxBytes) {
            pieces << piece;
            piece.clear();
        }
    }
    return piece.isEmpty() ? pieces : pieces << piece;
}

// Letters of all lengths, whole and torn surrogate pairs.
QString RandomText(QRandomGenerator& random, int length)
{
    const ushort units[] = {'a', 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0xFEFF, 0xD83D, 0xDE00};
    const int variety = 1 + int(random.bounded(9));
    QString text;
    for (int i = 0; i < length; ++i)
        text += QChar(units[(random.bounded(variety) + length) % 9]);
    return text;
}

QList<int> Sizes(const QStringList& pieces)
{
    QList<int> sizes;
    for (const QString& piece : pieces)
        sizes << piece.size();
    return sizes;
}

} // namespace

class TestString : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void digests()
    {
        QCOMPARE(converter::ToHex(QString("Az") + QChar(0xE4)), QString("417ac3a4"));
        QCOMPARE(converter::ToMD5(QByteArray()), QString("d41d8cd98f00b204e9800998ecf8427e"));

        QTemporaryFile file;
        QVERIFY(file.open());
        const QByteArray data = QByteArray("some content\n").repeated(100000);
        QCOMPARE(file.write(data), data.size());
        QVERIFY(file.flush() && file.seek(0));
        const auto expected = QString(OutputOf("md5sum", {file.fileName()}).left(32));
        QCOMPARE(converter::ToMD5(data), expected);
        QCOMPARE(converter::ToMD5(QString::fromUtf8(data)), expected);
        QCOMPARE(converter::ToMD5(file), expected);
        file.close();
        QCOMPARE(converter::ToMD5(file), QString());
    }

    void uuidForm_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<unsigned>("group");
        QTest::addColumn<QString>("form");
        QTest::newRow("even groups")
            << "0123456789abcdef" << 8u << "{30313233-34353637-38396162-63646566}";
        QTest::newRow("longer last group") << "01234" << 4u << "{3031-323334}";
        QTest::newRow("shorter last group") << "012" << 5u << "{303132}";
        QTest::newRow("brace counts") << "0123" << 3u << "{303-132-33}";
        QTest::newRow("separator at the end") << "0" << 1u << "{3-0-}";
        QTest::newRow("no group") << "01" << 0u << "{3031}";
        QTest::newRow("doubling wraps") << "01" << 0x80000000u << "{3031}";
    }

    void uuidForm()
    {
        QFETCH(QString, text);
        QFETCH(unsigned, group);
        QTEST(converter::ToUuidForm(text, group), "form");
    }

    void utf8ByTheRule()
    {
        QRandomGenerator random(1);
        for (int round = 0; round < 3000; ++round) {
            const QString text = RandomText(random, int(random.bounded(60)));
            const int maxBytes = 4 + int(random.bounded(20));
            QCOMPARE(splitter::Utf8(text, maxBytes), Utf8ByTheRule(text, maxBytes));
        }
    }

    void utf8Limits()
    {
        const QString cyrillic(12, QChar(0x436));
        QCOMPARE(splitter::Utf8({}, 10), QStringList());
        QCOMPARE(splitter::Utf8("fits", 4), QStringList("fits"));
        QCOMPARE(Sizes(splitter::Utf8(cyrillic, 10)), QList<int>({5, 5, 2}));
        for (const int tooSmall : {1, 0, -1, INT_MIN})
            QCOMPARE(Sizes(splitter::Utf8(cyrillic, tooSmall)).count(1), 12);
    }

    // Ends the time limit if the cost grows with the size of the pieces.
    void utf8OfLongTextIsLinear()
    {
        const QString text(2000000, QChar(0x436));
        QCOMPARE(Sizes(splitter::Utf8(text, 1000000)),
                 QList<int>({500000, 500000, 500000, 500000}));
    }

    void ucs2_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("maxUnits");
        QTest::addColumn<QList<int>>("sizes");
        const QString ascii(25, 'a');
        const QString mixed = QString(ascii).replace(7, 1, QChar(0x436));
        const QString torn = QString("abcd") + QChar(0xD83D) + QChar(0xDE00) + "efgh";
        QTest::newRow("empty") << "" << 10 << QList<int>();
        QTest::newRow("ascii") << ascii << 10 << QList<int>({10, 10, 5});
        QTest::newRow("odd limit") << ascii << 5 << QList<int>({6, 6, 6, 6, 1});
        QTest::newRow("larger odd limit") << ascii << 9 << QList<int>({12, 12, 1});
        QTest::newRow("one other slice") << mixed << 10 << QList<int>({5, 5, 10, 5});
        QTest::newRow("torn pair counts as ascii") << torn << 10 << QList<int>({10});
        QTest::newRow("whole pair") << torn << 4 << QList<int>({4, 2, 4});
        QTest::newRow("limit too small") << "ab" << 0 << QList<int>({1, 1});
    }

    void ucs2()
    {
        QFETCH(QString, text);
        QFETCH(int, maxUnits);
        const QStringList pieces = splitter::Ucs2(text, maxUnits);
        QTEST(Sizes(pieces), "sizes");
        QCOMPARE(pieces.join(QString()), text);
    }
};

QTEST_GUILESS_MAIN(TestString)
#include "tst_string.moc"
