#include <common/tools/insertionfixupvalidator.h>
#include <common/tools/string/converter.h>
#include <common/tools/string/splitter.h>
#include <common/tools/version.h>

#include "support/process.h"

#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QtTest>

using common::Version;
using tools::CInsertionFixupValidator;
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
        if (size <= maxBytes)
            ++i;
        else
            piece.chop(1);
        if (size >= maxBytes)
            pieces << std::exchange(piece, {});
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

// The text and its cursor "|" after it was validated.
template <typename Validator = CInsertionFixupValidator>
QString Validated(const char* pattern, QString text, QValidator::State expected)
{
    int pos = text.indexOf('|');
    text.remove('|');
    const bool right = Validator(QRegExp(pattern)).validate(text, pos) == expected;
    return right ? text.insert(pos, '|') : "in another state";
}

struct Shortening : CInsertionFixupValidator
{
    using CInsertionFixupValidator::CInsertionFixupValidator;
    void fixup(QString& input) const override { input.chop(1); }
};

} // namespace

class TestValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void versions()
    {
        const QList<QPair<const char*, QString>> rows = {
            {"5.1.0.12", "5.1.0.12"},   {"1-2_3,4", "1.2.3.4"},
            {"1.2.3.4.5", "1.2.3.4"},   {"1..3", "1.0.3.0"},
            {"1.2b", "1.0.0.0"},        {"", "0.0.0.0"},
            {"007.+1. 1.٣", "7.0.0.0"}, {"4294967295.4294967296", "4294967295.0.0.0"}};
        for (const auto& [text, expected] : rows) {
            QCOMPARE(Version(text).ToString(), expected);
            QCOMPARE(Version(text).IsNull(), expected == "0.0.0.0");
        }
    }

    void partsWithoutPieceAreKept()
    {
        Version version(1, 2, 3, 4);
        version.parse("7");
        QCOMPARE(version.ToString(), "7.2.3.4");
    }

    void order()
    {
        const QList<Version> ascending = {"0.0.0.1", "1.9.5", "1.10", "1.10.0.1", "4294967295"};
        for (int i = 0; i < ascending.size(); ++i) {
            for (int j = 0; j < ascending.size(); ++j) {
                const Version &a = ascending[i], &b = ascending[j];
                QVERIFY((a < b) == (i < j) && (a > b) == (i > j) && (a == b) == (i == j));
                QVERIFY((a <= b) == (i <= j) && (a >= b) == (i >= j) && (a != b) == (i != j));
            }
        }
    }

    void digests()
    {
        QCOMPARE(converter::ToHex(QString("Az") + QChar(0xE4)), "417ac3a4");
        QTemporaryFile file;
        QVERIFY(file.open());
        const QByteArray data = QByteArray("some content\n").repeated(100000);
        QVERIFY(file.write(data) == data.size() && file.seek(0));
        const auto expected = QString(OutputOf("md5sum", {file.fileName()}).left(32));
        QCOMPARE(converter::ToMD5(data), expected);
        QCOMPARE(converter::ToMD5(QString::fromUtf8(data)), expected);
        QCOMPARE(converter::ToMD5(file), expected);
        file.close();
        QCOMPARE(converter::ToMD5(file), QString());
    }

    void uuidForm()
    {
        QCOMPARE(converter::ToUuidForm("01234567", 8), "{30313233-34353637}");
        QCOMPARE(converter::ToUuidForm("01234", 4), "{3031-323334}");
        QCOMPARE(converter::ToUuidForm("0123", 3), "{303-132-33}"); // the brace counts
        QCOMPARE(converter::ToUuidForm("0", 1), "{3-0-}");
        for (const unsigned int group : {0U, 0x80000000U})
            QCOMPARE(converter::ToUuidForm("01", group), "{3031}");
    }

    void utf8ByTheRule()
    {
        QRandomGenerator random(1);
        for (int round = 0; round < 3000; ++round) {
            const QString text = RandomText(random, int(random.bounded(200)));
            const int maxBytes = 4 + int(random.bounded(80));
            QCOMPARE(splitter::Utf8(text, maxBytes), Utf8ByTheRule(text, maxBytes));
        }
        for (const int tooSmall : {1, 0, INT_MIN})
            QCOMPARE(splitter::Utf8("жж", tooSmall), QStringList({"ж", "ж"}));
    }

    // Ends the time limit if the cost grows with the size of the pieces.
    void utf8OfLongTextIsLinear()
    {
        const QString text(2000000, QChar(0x436));
        QCOMPARE(splitter::Utf8(text, 1000000).size(), 4);
    }

    void ucs2()
    {
        const QString ascii(25, 'a');
        const QString mixed = QString(ascii).replace(7, 1, QChar(0x436));
        const QString torn = QString("abcd") + QChar(0xD83D) + QChar(0xDE00) + "efgh";
        const std::tuple<QString, int, QList<int>> rows[] = {
            {"", 10, {}},
            {ascii, 10, {10, 10, 5}},
            {ascii, 9, {12, 12, 1}},
            {mixed, 10, {5, 5, 10, 5}},
            {torn, 10, {10}}, // its halves count as ASCII
            {torn, 4, {4, 2, 4}},
            {"ab", 0, {1, 1}}};
        for (const auto& [text, maxUnits, sizes] : rows) {
            const QStringList pieces = splitter::Ucs2(text, maxUnits);
            QCOMPARE(Sizes(pieces), sizes);
            QCOMPARE(pieces.join(QString()), text);
        }
    }

    void cursorStaysBehindWhatWasBeforeIt()
    {
        const auto acceptable = QValidator::Acceptable;
        QCOMPARE(Validated("[0-9]*", "12a3b4|", acceptable), "1234|");
        QCOMPARE(Validated("[0-9]{3}", "123|45", acceptable), "123|");
        QCOMPARE(Validated("[0-9]{3}", ".3|233", acceptable), "3|23");
        QCOMPARE(Validated("[0-9]*", "x1|x1", acceptable), "1|1");
        QCOMPARE(Validated("[0-9]+", "abc|", QValidator::Intermediate), "|");
        QCOMPARE(Validated("[0-9]{3}-[0-9]{2}", "123|", QValidator::Intermediate), "123|");
        QCOMPARE(Validated("[0-9", "a|b", QValidator::Invalid).remove('|'), "ab");
        QCOMPARE(Validated<Shortening>("[a-z]*", "ab|cd", acceptable), "ab|c"); // once
    }

    void positionOutsideTheText()
    {
        const CInsertionFixupValidator validator{QRegExp("[0-9]*")};
        for (int pos : {-1, 5}) {
            QString text = "1a2";
            const int expected = pos < 0 ? 0 : 2;
            validator.validate(text, pos);
            QCOMPARE(pos, expected);
        }
    }
};

QTEST_GUILESS_MAIN(TestValues)
#include "tst_values.moc"
