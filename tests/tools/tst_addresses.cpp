#include "support/cases.h"
#include "support/plainparser.h"

#include <common/tools/sip/normaladdress.h>
#include <common/tools/sip/password.h>
#include <common/tools/sip/sipid.h>
#include <common/tools/web/web.h>

#include <QElapsedTimer>
#include <QRandomGenerator>

using tools::sip::NormalAddress;
using tools::sip::Normalise;
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

struct NormalCase
{
    const char* name;     // as it was written
    QString text;         // nothing if it is refused
    QString dropped = {}; // joined by blanks
    int problem = NormalAddress::NoProblem;
    QString displayName = {};
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

template <typename T>
const T& OneOf(Random& random, const QList<T>& list)
{
    return list[random.bounded(list.size())];
}

// An address, piece by piece: most of them the usual ones, which are the first, and now and then one
// in the place of another.
QString AnyAddress(Random& random)
{
    static const QString label(63, 'l');
    static const QList<QStringList> places = {
        {"", "\"Jane Roe\" <", "\"\" <", "\"a\" \"b\"\t<", "\"a\" <b@c.de;\" <", "Bob <", "<", " "},
        {"", "sip:", "SIP: ", "sips:", "skype:", "S\u212Aype:\t", "tel:", "callto://"},
        {"", "+", "+7", "(0)", "%", "%4", "%2B", "112", "*100#", "\uFF05", "1\u0660"},
        {"alice", "a.b", ".x", "x..y", "o'neil", "j%40d", "(495)555", "-", "&=$_!~{}/", "%41%25",
         "%2F", "%3F", "%2C%20", "\u2018\u00A0", "1 2\u20133", ""},
        {"@", "", ":p@"},
        {"example.com", "a.b.c.ru", "skype", "skype.com", "abc", "-a.com", "a-.com", "x.abcde",
         "192.0.2.4", "[::1]", label + ".eu", 'l' + label + ".eu", ""},
        {"", ":5060", ":0", ":99999", ":100000", ":"},
        {"", ",", ",,", ",1", ",12", ",,1 2#,", ", f\t", ",g1", ";ext=1", ";user=phone",
         ";phone-context=a.com", ";postd=w1", ";\" <sip:d@e.fg", "?", "\n"}};
    static const QStringList peculiar = {"\u0130", "\u0131", "\u212A", "\u017F", "\u00DF", "\u1E9E",
                                         "\u0430", "\u200B", "\u3000", "\uFF11", "\u0085", "\\"};
    QString text;
    for (const QStringList& place : places)
        text += random.bounded(3)    ? place[0]
                : random.bounded(10) ? OneOf<QString>(random, place)
                                     : OneOf<QString>(random, OneOf(random, places));
    if (text.contains('<') && random.bounded(10))
        text += OneOf<QString>(random, {">", ">", ">", ">;tag=1"});
    if (random.bounded(4) == 0)
        text.insert(random.bounded(text.size() + 1), OneOf<QString>(random, peculiar));
    return random.bounded(20) ? text : text + QChar(random.bounded(0x10000));
}

} // namespace

class TestAddresses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void patternsStandAsStored()
    {
        for (const PlainPattern& plain : PlainPatterns()) {
            QVERIFY2(plain.pattern() == plain.stored, plain.name);
            QVERIFY2(plain.stored.isValid(), plain.name);
        }
        QCOMPARE('[' + SipId::AllSymbols() + "]+", SipId::AllSymbolRegExp().pattern());
    }

    void parse_data()
    {
        AddCases<ParseCase>({
            {"comma", "\"Watson, T\" <sip:t.w@example.org>", "t.w|example.org|Watson, T||"},
            {"post-dial digits", " al@ab.com:5060,,1 2\t#a, \n", "al|ab.com||,,12#a|5060"},
            {"skype uri", "Skype: echo.123", "echo.123|skype.com|||"},
            {"skype id", "echo123@skype"},
            {"number with post-dial digits", "+74955550123,,1 2 3", "74955550123|||,,123|"},
            {"bare user", "alice.b@@", "alice.b||||"},
            {"nothing", "  "},
        });
    }

    void parse()
    {
        const auto& [name, text, joined] = CurrentCase<ParseCase>();
        const QStringList expected = joined.isEmpty() ? QStringList() : joined.split('|');
        QCOMPARE(LibraryParse(text), expected);
        QCOMPARE(PlainParse(text), expected);
    }

    void portIsLeftWhereTheFormHasNone()
    {
        QString part, port = "9";
        SipId::ParseURIEx("alice", part, part, part, part, port);
        QCOMPARE(port, "9");
        SipId::ParseURIEx("alice@atlanta.com", part, part, part, part, port);
        QCOMPARE(port, "");
    }

    void normalise_data()
    {
        using N = NormalAddress;
        AddCases<NormalCase>({
            // RFC 3966.
            {"tel:+1-201-555-0123", "+12015550123"},
            {"tel:7042;phone-context=example.com", "7042@example.com"},
            {"tel:863-1234;phone-context=+1-914-555", "8631234", ";phone-context=+1-914-555"},
            {"TEL:+358-555-1234567;isub=1411;ext=12;postd=pp22", "+3585551234567,12,,22",
             ";isub=1411"},
            {"tel:+1-201-555-0123;phone-context=example.com", "+12015550123",
             ";phone-context=example.com"},
            // RFC 3261, section 19.1.3.
            {"sip:alice:secretword@atlanta.com;transport=tcp", "alice@atlanta.com",
             "password ;transport=tcp"},
            {"sips:alice@atlanta.com?subject=project%20x&priority=urgent", "alice@atlanta.com",
             "sips: ?subject=project%20x&priority=urgent"},
            {"sip:+1-212-555-1212:1234@gateway.com;user=phone", "+12125551212@gateway.com",
             "password"},
            {"sip:atlanta.com;method=REGISTER?to=alice%40atlanta.com", "",
             "?to=alice%40atlanta.com", N::UserMissing},
            {"sip:alice;day=tuesday@atlanta.com", "alice;day=tuesday@atlanta.com"},
            {"sip:%61lice@atlanta.com;transport=TCP", "alice@atlanta.com", ";transport=TCP"},
            // Numbers as people write them.
            {"\u200E+7\u00A0(495)\u202F555\u201101\u201323\u202C\n", "+74955550123"},
            {"＋７（４９５）５５５０１２３", "+74955550123"},
            {"٠١٢٣", "0123"},
            {"+44 (0)20 7946 0958", "+442079460958", "(0)"},
            {"8(800)555.01.23,,1 2", "88005550123,,12"},
            {"112,5", "112,,5"},
            {"tel:*100%23", "*100#"},
            {"sip:8-800@a.com;user=phone", "8800@a.com"},
            {"callto://+7%20495%205550123,", "+74955550123"},
            {"tel:7;ext=x", "", "", N::WrongCharacter},
            {"tel:1-800-FLOWERS", "", "", N::WrongCharacter},
            {"( )", "", "", N::Empty},
            {"555+1", "555+1"},
            // Users, hosts, names.
            {" \"Roe, \\\"J\\\"\" <sip:jane%2Broe@example.com:65535;lr>;tag=1",
             "jane+roe@example.com:65535", ";tag=1 ;lr", N::NoProblem, "Roe, \"J\""},
            {"Jane ５ <jane@example.com>", "jane@example.com", "", N::NoProblem, "Jane ５"},
            {"sip:sips%3Auser%40a.com@example.net", "sips%3Auser%40a.com@example.net"},
            {"sip:a%2Fb%3f@a.com", "a%2Fb%3f@a.com"},
            {"sip:a%%341@a.com", "a%2541@a.com"},
            {"alice@example.com:5060,,1 2", "alice@example.com:5060,,12"},
            {"skype:echo%31?call", "skype:echo1", "?call"},
            {"skype:+7-495?call", "+7495", "?call"},
            {"sip:100@pbx", "", "", N::HostIsShort},
            {"joe@[2001:db8::1]:5060", "", "", N::HostIsAddress},
            {"192.168.1.10", "", "", N::HostIsAddress},
            {"joe@example.online", "", "", N::HostEnding},
            {"joe@exam_ple.com", "", "", N::HostMalformed},
            {"joe@example.com:0", "", "", N::PortMalformed},
            {"joe@example.com:65536", "", "", N::PortMalformed},
            {"@example.com", "", "", N::UserMissing},
            {"joe smith@example.com", "", "", N::WrongCharacter},
            {"skype:live:joe", "", "", N::WrongCharacter},
            {"joe..b@example.com", "", "", N::UserMalformed},
            {"mailto:joe@example.com", "", "", N::UnknownLink},
            {" \t\u200B", "", "", N::Empty},
        });
    }

    void normalise()
    {
        const auto& row = CurrentCase<NormalCase>();
        const NormalAddress address = Normalise(row.name);
        QCOMPARE(address.text, row.text);
        QCOMPARE(address.dropped.join(' '), row.dropped);
        QCOMPARE(int(address.problem), row.problem);
        QCOMPARE(address.reason.isEmpty(), !row.problem);
        QCOMPARE(address.displayName, row.displayName);
    }

    // The library parses as the patterns do; what is normalised parses, and stays as it is.
    void anyAddress()
    {
        Random random(quint32(qEnvironmentVariableIntValue("QVCOMMON_SEED")));
        constexpr int rounds = 60000;
        int parsed = 0, accepted = 0;
        for (int i = 0; i < rounds; ++i) {
            const QString written = AnyAddress(random);
            const QStringList parts = LibraryParse(written);
            QVERIFY2(parts == PlainParse(written), qPrintable(written));
            const NormalAddress address = Normalise(written);
            const bool holds = address.problem ? address.text.isEmpty()
                                               : !LibraryParse(address.text).isEmpty() &&
                                                     Normalise(address.text).text == address.text;
            QVERIFY2(holds, qPrintable(written + " -> " + address.text));
            parsed += !parts.isEmpty();
            accepted += !address.problem;
        }
        qDebug() << parsed << accepted;
        QVERIFY(parsed > rounds / 10 && accepted > rounds / 10); // and many of either are not
        QVERIFY(parsed < rounds / 2 && accepted < rounds * 9 / 10);
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

    void check()
    {
        const QList<QStringList> ids = {
            // by the result
            {"Alice.B@sub.ZELKOSIP.ru", "a@zelkosip.com:99999"},
            {"@a+b", "alice@OTHER.test", "alice@zelkosip.test:05060"},
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
        for (const int length : {7, 8, 20, 21})
            QCOMPARE(Password::IsGood(QString(length, 'a')), length == 8 || length == 20);
        for (ushort code = 1; code < 0x500; ++code) {
            const QString same(8, QChar(code));
            QCOMPARE(Password::IsGood(same), Password::PasswordSymbolRegExp().exactMatch(same));
        }
    }

    void webServicesFollowHost()
    {
        QCOMPARE(Web::GetWebServisesUrl("<sip:a@example.ru>"),
                 "https://" PRIMARY_HOST "/integration/vesper");
        QCOMPARE(Web::GetWebServisesUrl("a@example.RU"),
                 "https://" ALTERNATIVE_HOST "/integration/vesper");
        const QList<QPair<const char*, int>> locales = {
            {"a@example.ru", 1}, {"a@example.eu", 2}, {"a@example.ru:5060", 0}, {"a.ru", 0}};
        for (const auto& [uri, locale] : locales)
            QCOMPARE(Web::GetLocale(uri), locale);
    }
};

QTEST_GUILESS_MAIN(TestAddresses)
#include "tst_addresses.moc"
