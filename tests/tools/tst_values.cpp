#include <common/tools/insertionfixupvalidator.h>
#include <common/tools/string/converter.h>
#include <common/tools/string/splitter.h>
#include <common/tools/version.h>

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
    for (const QChar c : text) {
        piece += c;
        const int size = piece.size() < maxBytes / 2 ? 0 : piece.toUtf8().size();
        if (size >= maxBytes) {
            pieces << piece.chopped(size > maxBytes);
            piece = piece.right(size > maxBytes);
        }
    }
    return piece.isEmpty() ? pieces : pieces << piece;
}

// The text and its cursor "|" after it was validated.
template <typename Validator = CInsertionFixupValidator>
QString Validated(const char* pattern, QString text, int expected = QValidator::Acceptable)
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
        Version version(1, 2, 3, 4);
        version.parse("7");
        QCOMPARE(version.ToString(), "7.2.3.4");
    }

    void order()
    {
        const Version ascending[] = {"0.0.0.1", "1.9.5", "1.10", "1.10.0.1", "4294967295"};
        for (const Version& a : ascending) {
            for (const Version& b : ascending) {
                QVERIFY((a < b) == (&a < &b) && (a > b) == (&a > &b) && (a == b) == (&a == &b));
                QVERIFY((a <= b) == (&a <= &b) && (a >= b) == (&a >= &b) && (a != b) == (&a != &b));
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
        const QString expected = "e7807d59ff613d947154a391e8542093"; // md5sum
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
        QCOMPARE(converter::ToUuidForm("01", 0), "{3031}");
        QCOMPARE(converter::ToUuidForm("01", 0x80000000U), "{3031}");
    }

    void utf8ByTheRule()
    {
        // Letters of all lengths, whole and torn surrogate pairs.
        const ushort units[] = {'a', 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0xFEFF, 0xD83D, 0xDE00};
        QRandomGenerator random(1);
        for (int round = 0; round < 3000; ++round) {
            const int variety = 1 + random.bounded(9), maxBytes = 4 + random.bounded(80);
            QString text(random.bounded(200), 'a');
            for (QChar& c : text)
                c = units[(random.bounded(variety) + text.size()) % 9];
            QCOMPARE(splitter::Utf8(text, maxBytes), Utf8ByTheRule(text, maxBytes));
        }
        for (const int tooSmall : {1, 0, INT_MIN})
            QCOMPARE(splitter::Utf8("жж", tooSmall), QStringList({"ж", "ж"}));
        // Runs into the time limit if the cost grows with the size of the pieces.
        QCOMPARE(splitter::Utf8(QString(2000000, QChar(0x436)), 1000000).size(), 4);
    }

    void ucs2()
    {
        const std::tuple<QString, int, QString> rows[] = {
            {"", 10, ""},
            {"0123456789012345678901234", 10, "0123456789|0123456789|01234"},
            {"0123456789012345678901234", 9, "012345678901|234567890123|4"},
            {"0123456ж89012345678901234", 10, "01234|56ж89|0123456789|01234"},
            {"abcd📞efgh", 10, "abcd📞efgh"}, // its halves count as ASCII
            {"abcd📞efgh", 4, "abcd|📞|efgh"},
            {"ab", 0, "a|b"}};
        for (const auto& [text, maxUnits, expected] : rows)
            QCOMPARE(splitter::Ucs2(text, maxUnits).join('|'), expected);
    }

    void cursorStaysBehindWhatWasBeforeIt()
    {
        QCOMPARE(Validated("[0-9]*", "12a3b4|"), "1234|");
        QCOMPARE(Validated("[0-9]{3}", "123|45"), "123|");
        QCOMPARE(Validated("[0-9]{3}", ".3|233"), "3|23");
        QCOMPARE(Validated("[0-9]*", "x1|x1"), "1|1");
        QCOMPARE(Validated("[0-9]+", "abc|", QValidator::Intermediate), "|");
        QCOMPARE(Validated("[0-9]{3}-[0-9]{2}", "123|", QValidator::Intermediate), "123|");
        QCOMPARE(Validated<Shortening>("[a-z]*", "ab|cd"), "ab|c"); // once
        QCOMPARE(Validated("[0-9]*", "1a2"), "|12");                // the cursor is at -1
    }
};

QTEST_GUILESS_MAIN(TestValues)
#include "tst_values.moc"
