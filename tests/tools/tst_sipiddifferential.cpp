#include "support/plainparser.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QtTest>

namespace {

constexpr int casesPerGenerator = 60000;
constexpr int longCases = 60;

using Random = QRandomGenerator;

template <typename List>
auto OneOf(Random& random, const List& list)
{
    return list[random.bounded(int(std::size(list)))];
}

QString Characters(Random& random, const QString& alphabet, int most)
{
    QString text;
    for (int left = random.bounded(most + 1); left > 0; --left)
        text += OneOf(random, alphabet);
    return text;
}

const QString symbols = QStringLiteral("aZ09-&=+$,;?_!~*\u2018()%{}/'.@:");

// A text that follows the grammar, but for a piece that is left out or wrong now and then.
QString FromGrammar(Random& random)
{
    const auto maybe = [&](int percent, const QString& text) {
        return random.bounded(100) < percent ? text : QString();
    };
    const QStringList users = {"alice", "a.b",    "+1-212",   "112",
                               "*100#", "000123", "o'neil",   "x..y",
                               ".x",    "j%40d",  "(495)555", Characters(random, symbols, 8)};
    const QStringList hosts = {"example.com",
                               "a.b.c.ru",
                               "skype",
                               "skype.com",
                               "zelkosip.test",
                               "h",
                               "-a.com",
                               "a-.com",
                               "x.museum",
                               "192.0.2.4",
                               QString(random.bounded(60, 68), 'l') + ".eu"};
    const QStringList ports = {":5060", ":0", ":99999", ":100000", ":"};
    const QStringList names = {"\"Jane Roe\" ", "\"\" ", "\"a\" \"b\"\t",
                               "\"no space\"",  "Bob ",  "\"a\" <b@c.de;\" "};
    const QStringList schemes = {"sip:", "SIP: ", "sips:", "skype:", "Skype:\t", "tel:"};
    const QStringList tails = {",", ",,", ",1", ",12", ",,1 2#,", ", f\t", ",g1"};
    const QString address = maybe(40, OneOf(random, schemes)) + OneOf(random, users) +
                            maybe(70, "@" + OneOf(random, hosts) + maybe(30, OneOf(random, ports)));
    if (random.bounded(3) == 0)
        return maybe(60, OneOf(random, names)) + "<" + address +
               maybe(40, ";" + Characters(random, symbols, 6)) + maybe(20, ";\" <sip:d@e.fg") +
               maybe(95, ">");
    return maybe(10, " ") + address + maybe(40, OneOf(random, tails)) + maybe(10, "\n");
}

// Letters that fold to "i", "k" and "s", and characters that are peculiar in other ways.
QString PeculiarUnicode(Random& random)
{
    static const ushort twins[][2] = {{'i', 0x0130}, {'i', 0x0131}, {'k', 0x212A}, {'s', 0x017F}};
    static const ushort peculiar[] = {0x00DF, 0x1E9E, 0x212B, 0x03C2, 0x0430, 0x042F, 0x2018,
                                      0x2019, 0x00A0, 0x2028, 0x3000, 0xFEFF, 0xFF11, 0x0660,
                                      0xD800, 0xDC00, 0x0000, 0x0085, 0x001C, 0x200B, 0xFFFF};
    QString text = FromGrammar(random);
    if (random.bounded(2)) {
        const auto& twin = twins[random.bounded(int(std::size(twins)))];
        text.replace(QChar(twin[0]), QChar(twin[1]));
    }
    for (int insertions = random.bounded(3); insertions > 0; --insertions)
        text.insert(random.bounded(text.size() + 1), QChar(OneOf(random, peculiar)));
    return text;
}

const QStringList longUnits = {
    "a",    ".",   "a.", "@",      "1",       ",",       ",1", "<",      "\"", ";",  "a@b.", " ",
    "sip:", "\" ", "x-", "skype:", "\"a\" <", "b.com:1", "(",  "\u2018", "0,", ", ", ">"};

QString VeryLong(Random& random)
{
    const int size = OneOf(random, QList<int>{1000, 10000, 100000});
    const QString unit = OneOf(random, longUnits);
    const QString body = unit.repeated(size / unit.size());
    return random.bounded(2) ? body : FromGrammar(random) + body + FromGrammar(random);
}

using Generator = QString (*)(Random&);

} // namespace

Q_DECLARE_METATYPE(Generator)

class TestSipIdDifferential : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sameAsPlainPatterns_data()
    {
        QTest::addColumn<Generator>("generator");
        QTest::addColumn<int>("count");
        QTest::newRow("grammar") << Generator(FromGrammar) << casesPerGenerator;
        QTest::newRow("unicode") << Generator(PeculiarUnicode) << casesPerGenerator;
        QTest::newRow("very long") << Generator(VeryLong) << longCases;
    }

    void sameAsPlainPatterns()
    {
        QFETCH(Generator, generator);
        QFETCH(int, count);
        Random random(20261123);
        int parsed = 0;
        for (int i = 0; i < count; ++i) {
            const QString text = generator(random);
            const ParsedAddress address = LibraryParse(text);
            parsed += address.parsed;
            if (!(address == PlainParse(text)))
                QFAIL(qPrintable(QString("case %1: %2").arg(i).arg(text.left(500))));
        }
        QVERIFY2(parsed > 0 && parsed < count, "the generator does not reach both results");
        qInfo("%d cases, %d of them addresses", count, parsed);
    }

    // Some milliseconds are usual; a time that grows with the square of the text would be seconds.
    void longTextsAreFast()
    {
        const char* const prefixes[] = {"",    "\"",     "\"a\" <", "<a@b.com;",
                                        "+1,", "skype:", "a@b.com"};
        for (const QString& unit : longUnits) {
            for (const char* prefix : prefixes) {
                const QString text = prefix + unit.repeated(100000 / unit.size()) + "@";
                QElapsedTimer clock;
                clock.start();
                LibraryParse(text);
                QVERIFY2(clock.elapsed() < 500, qPrintable(prefix + unit));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestSipIdDifferential)
#include "tst_sipiddifferential.moc"
