#include "support/plainparser.h"

#include <common/tools/sip/normaladdress.h>
#include <common/tools/sip/password.h>
#include <common/tools/sip/sipid.h>
#include <common/tools/web/web.h>

#include <QtTest>

using namespace tools::sip;
using tools::web::Web;

namespace {

// As PlainParse() tells it. What is no address becomes the user, and the port stays.
QStringList LibraryParse(const QString& text)
{
    QString user = text, host = "old", name = "old", postDial = "old", port = "kept";
    if (SipId::ParseURIEx(user, user, host, name, postDial, port))
        return {user, host, name, postDial, port};
    const bool isText = user == text.trimmed() && host + name + postDial + port == "kept";
    return isText ? QStringList() : QStringList{"neither an address nor the text"};
}

// An address, piece by piece: most of them the usual ones, which are the first, and now and then one
// in the place of another.
QString AnyAddress(QRandomGenerator& random)
{
    const auto oneOf = [&](const auto& list) {
        return list[random.bounded(list.size())];
    };
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
    static const QStringList peculiar = {"\u0130", "\u0131", "\u212A",
                                         "\u017F", "\u00DF", "\u0085"};
    QString text;
    for (const QStringList& place : places)
        text += random.bounded(3)    ? place[0]
                : random.bounded(10) ? oneOf(place)
                                     : oneOf(oneOf(places));
    if (text.contains('<') && random.bounded(10))
        text += random.bounded(4) ? ">" : ">;tag=1";
    if (random.bounded(4) == 0)
        text.insert(random.bounded(text.size() + 1), oneOf(peculiar));
    return random.bounded(20) ? text : text + QChar(random.bounded(0x10000));
}

} // namespace

class TestAddresses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void patternsStandAsStored()
    {
        for (const PlainPattern& plain : PlainPatterns())
            QCOMPARE(plain.pattern(), plain.stored);
        QCOMPARE('[' + SipId::AllSymbols() + "]+", SipId::AllSymbolRegExp().pattern());
    }

    void normalise()
    {
        const std::array<QString, 4> rows[] = {
            // What is written, the text, what is dropped, joined by blanks, and the name.
            // RFC 3966.
            {"tel:7042;phone-context=example.com", "7042@example.com"},
            {"tel:863-1234;phone-context=+1-914-555", "8631234", ";phone-context=+1-914-555"},
            {"TEL:+358-555-1234;isub=141;ext=12;postd=pp22", "+3585551234,12,,22", ";isub=141"},
            {"tel:+1-201-555-0123;phone-context=a.com", "+12015550123", ";phone-context=a.com"},
            // RFC 3261, section 19.1.3.
            {"sip:alice:secretword@atlanta.com;lr", "alice@atlanta.com", "password ;lr"},
            {"sips:alice@a.com?subject=a%20x&to=b", "alice@a.com", "sips: ?subject=a%20x&to=b"},
            {"sip:+1-212-555-1212:1234@g.com;user=phone", "+12125551212@g.com", "password"},
            {"sip:alice;day=tuesday@atlanta.com", "alice;day=tuesday@atlanta.com"},
            // Numbers as people write them.
            {"\u200E+7\u00A0(495)\u202F555\u201101\u201323\u202C\n", "+74955550123"},
            {"＋７（４９５）５５５０１２３", "+74955550123"},
            {"+44 (0)20 7946 0958", "+442079460958", "(0)"},
            {"8(800)555.01.23,,1 2", "88005550123,,12"},
            {"112,5", "112,,5"},
            {"tel:*100%23", "*100#"},
            {"sip:8-800@a.com;user=phone", "8800@a.com"},
            {"callto://+7%20495%205550123,", "+74955550123"},
            {"555+1", "555+1"},
            // Users, hosts, names.
            {" \"Roe, \\\"J\\\"\" <sip:jane%2Broe@example.com:65535;lr>;tag=1",
             "jane+roe@example.com:65535", ";tag=1 ;lr", "Roe, \"J\""},
            {"Jane ５ <jane@example.com>", "jane@example.com", "", "Jane ５"},
            {"sip:sips%3Auser%40a.com@example.net", "sips%3Auser%40a.com@example.net"},
            {"sip:a%2Fb%3f@a.com", "a%2Fb%3f@a.com"},
            {"sip:a%%341@a.com", "a%2541@a.com"},
            {"skype:echo%31?call", "skype:echo1", "?call"},
            {"skype:+7-495?call", "+7495", "?call"}};
        for (const auto& [written, text, dropped, displayName] : rows) {
            const NormalAddress address = Normalise(written);
            QCOMPARE(address.text, text);
            QCOMPARE(address.dropped.join(' '), dropped);
            QCOMPARE(address.displayName, displayName);
            QVERIFY(!address.problem && address.reason.isEmpty());
        }
    }

    void refused()
    {
        using N = NormalAddress;
        const QPair<int, QStringList> rows[] = {
            {N::Empty, {"( )", " \t\u200B"}},
            {N::HostIsShort, {"sip:100@pbx"}},
            {N::HostIsAddress, {"joe@[2001:db8::1]:5060", "192.168.1.10"}},
            {N::HostEnding, {"joe@example.online"}},
            {N::HostMalformed, {"joe@exam_ple.com"}},
            {N::PortMalformed, {"joe@example.com:0", "joe@example.com:65536"}},
            {N::UserMissing, {"@example.com", "sip:atlanta.com;method=REGISTER?to=a%40b.com"}},
            {N::UserMalformed, {"joe..b@example.com"}},
            {N::UnknownLink, {"mailto:joe@example.com"}},
            {N::WrongCharacter,
             {"tel:7;ext=x", "tel:1-800-FLOWERS", "joe b@a.com", "skype:live:joe"}}};
        for (const auto& [problem, texts] : rows) {
            for (const QString& written : texts) {
                const NormalAddress address = Normalise(written);
                QCOMPARE(int(address.problem), problem);
                QVERIFY(address.text.isEmpty() && !address.reason.isEmpty());
            }
        }
    }

    // The library parses as the patterns do; what is normalised parses, and stays as it is.
    void anyAddress()
    {
        QRandomGenerator random(quint32(qEnvironmentVariableIntValue("QVCOMMON_SEED")));
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
        QVERIFY(parsed > rounds / 10 && accepted > rounds / 10 && parsed + accepted < rounds);
    }

    // Runs into the time limit if a time grows with the square of the text.
    void longTexts()
    {
        for (const char* unit : {"a", "a.", "@", "1", ",", "<", "\"", "\" ", "\"a\" <", "b.com:1",
                                 "(", "0,", "x-", " "}) {
            for (const char* prefix : {"", "\"a\" <", "<a@b.com;", "+1,", "skype:", "a@b.com"})
                LibraryParse(prefix + QString(unit).repeated(1000000) + "@");
        }
    }

    void check()
    {
        const QStringList ids[] = {
            // by the result
            {"Alice.B@sub.ZELKOSIP.ru", "a@zelkosip.com:99999"},
            {"@a+b", "alice@OTHER.test", "alice@zelkosip.test:05060"},
            {"a b", "alice@zelko_sip.test", "alice@a@b+c"},
            {"", "alice@zelkosip.test:100000", "alice@zelkosip.test:5060:5061"}};
        for (int expected = 0; expected < 4; ++expected) {
            for (const QString& id : ids[expected])
                QVERIFY(SipId::Check(id) == expected && SipId::IsValid(id) == (expected == 0));
        }
    }

    void password()
    {
        for (const int length : {7, 8, 20, 21})
            QCOMPARE(Password::IsGood(QString(length, 'a')), length == 8 || length == 20);
        QVERIFY(Password::IsGood("пароль{}") && !Password::IsGood("password "));
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
