#include "support/cases.h"
#include "support/plainparser.h"

#include <common/tools/sip/password.h>
#include <common/tools/sip/sipid.h>
#include <common/tools/web/web.h>

#include <QElapsedTimer>
#include <QRandomGenerator>

using tools::sip::Password;
using tools::sip::SipId;
using tools::web::Web;

namespace {

struct ParseCase
{
    const char* name;
    QString text;
    QString expected = {}; // user|host|name|post-dial digits|port; or it is no address
};

// As PlainParse() tells it. What is no address becomes the user.
QStringList LibraryParse(const QString& text)
{
    QString user = text, host = "old", name = "old", postDial = "old", port;
    if (SipId::ParseURIEx(user, user, host, name, postDial, port))
        return {user, host, name, postDial, port};
    if (user == text.trimmed() && (host + name + postDial + port).isEmpty())
        return {};
    return {"neither an address nor the text"};
}

using Random = QRandomGenerator;

template <typename List>
auto OneOf(Random& random, const List& list)
{
    return list[random.bounded(int(std::size(list)))];
}

// A text that follows the grammar, but for a piece that is left out or wrong now and then.
QString FromGrammar(Random& random)
{
    const auto maybe = [&](int percent, const QString& text) {
        return random.bounded(100) < percent ? text : QString();
    };
    QString symbols;
    while (random.bounded(5))
        symbols += OneOf(random, QStringLiteral("aZ09-&=+$,;?_!~*\u2018()%{}/'.@:"));
    const QStringList users = {"alice",  "a.b",  "+1-212", "112",   "*100#",    "000123",
                               "o'neil", "x..y", ".x",     "j%40d", "(495)555", symbols};
    const QString label(random.bounded(60, 68), 'l');
    const QStringList hosts = {"example.com",   "a.b.c.ru",  "skype",      "skype.com",
                               "zelkosip.test", "abc",       "-a.com",     "a-.com",
                               "x.abcde",       "192.0.2.4", label + ".eu"};
    const QStringList ports = {":5060", ":0", ":99999", ":100000", ":"};
    const QStringList names = {"\"Jane Roe\" ", "\"\" ", "\"a\" \"b\"\t",
                               "\"no space\"",  "Bob ",  "\"a\" <b@c.de;\" "};
    const QStringList schemes = {"sip:", "SIP: ", "sips:", "skype:", "Skype:\t", "tel:"};
    const QStringList tails = {",", ",,", ",1", ",12", ",,1 2#,", ", f\t", ",g1"};
    const QString address = maybe(40, OneOf(random, schemes)) + OneOf(random, users) +
                            maybe(70, "@" + OneOf(random, hosts) + maybe(30, OneOf(random, ports)));
    if (random.bounded(3))
        return maybe(10, " ") + address + maybe(40, OneOf(random, tails)) + maybe(10, "\n");
    return maybe(60, OneOf(random, names)) + "<" + address + maybe(40, ";" + symbols) +
           maybe(20, ";\" <sip:d@e.fg") + maybe(95, ">");
}

// Letters that fold to "i", "k" and "s", and characters that are peculiar in other ways.
QString PeculiarUnicode(Random& random)
{
    static const ushort twins[][2] = {{'i', 0x0130}, {'i', 0x0131}, {'k', 0x212A}, {'s', 0x017F}};
    static const ushort peculiar[] = {0x00DF, 0x1E9E, 0x0430, 0x2018, 0x2019, 0x00A0,
                                      0x3000, 0xFF11, 0x0660, 0xD800, 0x0000, 0x0085};
    QString text = FromGrammar(random);
    const auto& twin = twins[random.bounded(int(std::size(twins)))];
    if (random.bounded(2))
        text.replace(QChar(twin[0]), QChar(twin[1]));
    if (random.bounded(2))
        text.insert(random.bounded(text.size() + 1), QChar(OneOf(random, peculiar)));
    return text;
}

} // namespace

class TestSipId : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void patternsStandAsStored()
    {
        for (const PlainPattern& plain : PlainPatterns()) {
            const QRegExp pattern = plain.pattern();
            QVERIFY2(pattern == QRegExp(plain.text, Qt::CaseInsensitive), plain.name);
            QVERIFY2(pattern.isValid(), plain.name);
        }
        QCOMPARE('[' + SipId::AllSymbols() + "]+", SipId::AllSymbolRegExp().pattern());
    }

    void parse_data()
    {
        AddCases<ParseCase>({
            // Forms in RFC 3261 and RFC 4475.
            {"comma", "\"Watson, T\" <sip:t.w@example.org>", "t.w|example.org|Watson, T||"},
            {"parameters", "\"B\"\t<SIP: b@B.COM:5060;transport=tcp;lr>", "b|B.COM|B||5060"},
            {"no name, no scheme", "<bob@biloxi.com>", "bob|biloxi.com|||"},
            {"tag behind", "\"Alice\" <sip:alice@atlanta.com>;tag=1928301774"},
            {"name as a token", "Bob <sip:bob@biloxi.com>"},
            {"unusual user", "sip:1_u.I~(t-e!s)&i't+i$/c?,/;;*@a.com",
             "1_u.I~(t-e!s)&i't+i$/c?,/;;*|a.com|||"},
            // Captures.
            {"empty name", "\"\" <sip:a@example.com>"},
            {"two names", "\"A\" \"B\" <sip:a@example.com>", "a|example.com|A\" \"B||"},
            {"post-dial digits", " al@ab.com:5060,,1 2\t#a, \n", "al|ab.com||,,12#a|5060"},
            // Skype, telephone numbers and bare users.
            {"skype uri", "Skype: echo.123", "echo.123|skype.com|||"},
            {"skype id", "echo123@skype"},
            {"number with post-dial digits", "+74955550123,,1 2 3", "74955550123|||,,123|"},
            {"one digit behind a comma is a user", "12345,1", "12345,1||||"},
            {"bare user", "alice.b@@", "alice.b||||"},
            {"nothing", "  "},
        });
    }

    void parse()
    {
        const auto& [name, text, joined] = CurrentCase<ParseCase>();
        QStringList expected = joined.isEmpty() ? QStringList() : joined.split('|');
        QCOMPARE(LibraryParse(text), expected);
        QCOMPARE(PlainParse(text), expected);

        const bool parsed = !expected.isEmpty();
        if (!parsed)
            expected = QStringList{text.trimmed(), "", "", "", ""};
        if (!expected[4].isEmpty())
            expected[1] += ':' + expected[4];
        QString user, host, displayName, postDial;
        QCOMPARE(SipId::ParseURIEx(text, user, host, displayName, postDial), parsed);
        QCOMPARE((QStringList{user, host, displayName, postDial}), expected.mid(0, 4));
        QCOMPARE(SipId::ParseURI(text, user, host, displayName), parsed);
        QCOMPARE((QStringList{user, host, displayName}), expected.mid(0, 3));
    }

    void sameAsPlainPatterns()
    {
        Random random(20261123);
        int parsed = 0;
        for (int i = 0; i < 60000; ++i) {
            const QString text = i % 2 ? FromGrammar(random) : PeculiarUnicode(random);
            const QStringList address = LibraryParse(text);
            parsed += !address.isEmpty();
            QVERIFY2(address == PlainParse(text), qPrintable(text));
        }
        QVERIFY(parsed > 10000 && parsed < 50000); // the generators reach both
    }

    // Some milliseconds are usual; a time that grows with the square of the text would be seconds.
    void longTextsAreFast()
    {
        for (const char* unit : {"a", "a.", "@", "1", ",", "<", "\"", "\" ", "\"a\" <", "b.com:1",
                                 "(", "0,", "x-", " "}) {
            for (const char* prefix : {"", "\"a\" <", "<a@b.com;", "+1,", "skype:", "a@b.com"}) {
                const QString text = prefix + QString(unit).repeated(100000) + "@";
                QElapsedTimer clock;
                clock.start();
                LibraryParse(text);
                QVERIFY2(clock.elapsed() < 2000, unit);
            }
        }
    }

    void portIsLeftWhereTheFormHasNone()
    {
        QString user, host, name, postDial, port = "9";
        SipId::ParseURIEx("alice", user, host, name, postDial, port);
        QCOMPARE(port, "9");
        SipId::ParseURIEx("alice@atlanta.com", user, host, name, postDial, port);
        QCOMPARE(port, "");
    }

    void check()
    {
        const QList<QStringList> ids = {
            // by the result
            {"alice@zelkosip.test", "Alice.B@sub.ZELKOSIP.ru", "a@zelkosip.com:99999"},
            {"alice", "@a+b", "alice@OTHER.test", "alice@zelkosip.museum",
             "alice@zelkosip.test:05060", "alice@zelkosip.test@zelkosip.test"},
            {"a b", "alice@zelko_sip.test", "alice@a@b+c"},
            {"", "alice@zelkosip.test:100000", "alice@zelkosip.test:5060:5061"}};
        for (int expected = 0; expected < ids.size(); ++expected) {
            for (const QString& id : ids[expected]) {
                QVERIFY2(SipId::Check(id) == expected, qPrintable(id));
                QCOMPARE(SipId::IsValid(id), expected == 0);
            }
        }
    }

    void password()
    {
        for (const char* good : {"12345678", "пароль-ПАРОЛЬ", "[{\\|/}]`~", "aaaaaaaaaaaaaaaaaaaa"})
            QVERIFY2(Password::IsGood(good), good);
        for (const char* bad : {"1234567", "aaaaaaaaaaaaaaaaaaaaa", "with space", "ёёёёёёёё"})
            QVERIFY2(!Password::IsGood(bad), bad);
        for (ushort code = 1; code < 0x500; ++code) {
            const QString same(8, QChar(code));
            QCOMPARE(Password::IsGood(same), Password::PasswordSymbolRegExp().exactMatch(same));
        }
    }

    void webServicesFollowHost()
    {
        QCOMPARE(Web::GetWebServisesUrl("<sip:a@example.ru>"),
                 "https://" PRIMARY_HOST "/integration/vesper");
        QCOMPARE(Web::GetUrl("a@example.ru", "1", "2"), "1");
        const QList<QPair<const char*, int>> others = {
            {"a@example.eu", 2}, {"a@example.RU", 0}, {"a@example.ru:5060", 0}, {"a.ru", 0}};
        for (const auto& [uri, locale] : others) {
            QCOMPARE(Web::GetLocale(uri), locale);
            QCOMPARE(Web::GetWebServisesUrl(uri),
                     "https://" ALTERNATIVE_HOST "/integration/vesper");
        }
    }
};

QTEST_GUILESS_MAIN(TestSipId)
#include "tst_sipid.moc"
