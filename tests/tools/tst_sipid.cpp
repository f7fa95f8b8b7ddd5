#include "support/plainparser.h"

#include <common/tools/sip/password.h>
#include <common/tools/sip/sipid.h>
#include <common/tools/web/web.h>

#include <QtTest>

using tools::sip::Password;
using tools::sip::SipId;
using tools::web::Web;

class TestSipId : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void patternsStandAsStored()
    {
        for (const PlainPattern& plain : PlainPatterns()) {
            const QRegExp pattern = plain.pattern();
            QVERIFY2(pattern.isValid(), plain.name);
            QVERIFY2(pattern.pattern() == plain.text, plain.name);
            QVERIFY2(pattern.caseSensitivity() == Qt::CaseInsensitive, plain.name);
            QVERIFY2(pattern.patternSyntax() == QRegExp::RegExp, plain.name);
        }
        QCOMPARE('[' + SipId::AllSymbols() + "]+", SipId::AllSymbolRegExp().pattern());
    }

    void parse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("expected"); // user, host, name, post-dial, port; or nothing
        const auto row = [](const char* name, const QString& text, const QStringList& expected) {
            QTest::newRow(name) << text << expected;
        };
        const QStringList no;

        // Forms in RFC 3261.
        row("uri", "sip:alice@atlanta.com", {"alice", "atlanta.com", "", "", ""});
        row("name-addr", "\"Bob\" <sip:bob@biloxi.com>", {"bob", "biloxi.com", "Bob", "", ""});
        row("name with comma", "\"Watson, Thomas\" <sip:t.watson@example.org>",
            {"t.watson", "example.org", "Watson, Thomas", "", ""});
        row("parameters", "\"Bob\"\t<SIP: bob@Biloxi.COM:5060;transport=tcp;lr>",
            {"bob", "Biloxi.COM", "Bob", "", "5060"});
        row("no name", "<sip:bob@biloxi.com>", {"bob", "biloxi.com", "", "", ""});
        row("no scheme", "<bob@biloxi.com>", {"bob", "biloxi.com", "", "", ""});
        row("global number", "sip:+1-212-555-1212@gateway.com",
            {"+1-212-555-1212", "gateway.com", "", "", ""});
        row("user parameter", "sip:alice;day=tuesday@atlanta.com",
            {"alice;day=tuesday", "atlanta.com", "", "", ""});
        row("escaped user", "sip:%61lice@atlanta.com:5061",
            {"%61lice", "atlanta.com", "", "", "5061"});
        row("tag behind", "\"Alice\" <sip:alice@atlanta.com>;tag=1928301774", no);
        row("name as a token", "Bob <sip:bob@biloxi.com>", no);
        row("secure", "sips:alice@atlanta.com", no);
        row("password", "sip:alice:secretword@atlanta.com;transport=tcp", no);
        row("address for host", "sip:alice@192.0.2.4", no);
        row("headers", "<sip:user@example.com?Route=%3Csip:example.com%3E>", no);
        row("tel uri", "tel:+358-555-1234567", no);

        // Torture in RFC 4475.
        row("escaped quote", "\"J Rosenberg \\\"\"       <sip:jdrosen@example.com>",
            {"jdrosen", "example.com", "J Rosenberg \\\"", "", ""});
        row("unusual user", "sip:1_unusual.URI~(to-be!sure)&isn't+it$/crazy?,/;;*@example.com",
            {"1_unusual.URI~(to-be!sure)&isn't+it$/crazy?,/;;*", "example.com", "", "", ""});
        row("unusual password",
            "sip:1_unusual.URI~(to-be!sure)&isn't+it$/crazy?,/;;*:&it+has=1@example.com", no);
        row("escaped at", "sip:sips%3Auser%40example.com@example.net",
            {"sips%3Auser%40example.com", "example.net", "", "", ""});
        row("escaped null", "sip:null-%00-null@example.com",
            {"null-%00-null", "example.com", "", "", ""});
        row("unbalanced quote", "\"Unbalanced <sip:a@example.com>", no);
        row("null and delete in the name",
            QString("\"BEL:\a NUL:%1 DEL:\x7F\" <sip:a@example.com>").arg(QChar(0)),
            {"a", "example.com", QString("BEL:\a NUL:%1 DEL:\x7F").arg(QChar(0)), "", ""});

        // Captures.
        row("empty name", "\"\" <sip:a@example.com>", no);
        row("two names", "\"A\" \"B\" <sip:a@example.com>",
            {"a", "example.com", "A\" \"B", "", ""});
        row("post-dial digits", " alice@atlanta.com:5060,,1 2\t#a, \n",
            {"alice", "atlanta.com", "", ",,12#a", "5060"});
        row("pauses only", "alice@atlanta.com,,,", {"alice", "atlanta.com", "", "", ""});
        row("one post-dial digit", "alice@atlanta.com,5", no);
        row("port from zero", "alice@atlanta.com:0506", no);
        row("long port", "alice@atlanta.com:123456", no);
        row("long top level", "alice@example.museum", no);
        row("label of 63", "a@" + QString(63, 'b') + ".com",
            {"a", QString(63, 'b') + ".com", "", "", ""});
        row("label of 64", "a@" + QString(64, 'b') + ".com", no);
        row("hyphen first", "alice@-atlanta.com", no);

        // Skype.
        row("skype uri", "Skype: echo.123", {"echo.123", "skype.com", "", "", ""});
        row("skype uri with host", "skype:echo123@skype", {"echo123", "skype.com", "", "", ""});
        row("skype uri elsewhere", "skype:echo123@example.com", no);
        row("skype id with domain", "echo123@Skype.com", {"echo123", "Skype.com", "", "", ""});
        row("skype id", "echo123@skype", no);

        // Telephone numbers and bare users.
        row("international", "+74955550123", {"74955550123", "", "", "", ""});
        row("plus and spaces", " ++ 112", {"112", "", "", "", ""});
        row("number with post-dial", "+74955550123,,1 2 3", {"74955550123", "", "", ",,123", ""});
        row("service code", "*100#", {"*100#", "", "", "", ""});
        row("one digit behind a comma is a user", "12345,1", {"12345,1", "", "", "", ""});
        row("inner spaces", "+7 495 5550123", no);
        row("brackets are a user", "(495)555-01-23", {"(495)555-01-23", "", "", "", ""});
        row("bare user", "alice.b@@", {"alice.b", "", "", "", ""});
        row("left quote", QString("o%1neil").arg(QChar(0x2018)),
            {QString("o%1neil").arg(QChar(0x2018)), "", "", "", ""});
        row("dot at the end", "alice.", no);
        row("two dots", "alice..b", no);
        row("nothing", "  ", no);
    }

    void parse()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, expected);
        const bool parsed = !expected.isEmpty();
        if (!parsed)
            expected = QStringList{text.trimmed(), "", "", "", ""};

        QString user = "old", host = "old", name = "old", postDial = "old", port;
        QCOMPARE(SipId::ParseURIEx(text, user, host, name, postDial, port), parsed);
        QCOMPARE((QStringList{user, host, name, postDial, port}), expected);

        if (!port.isEmpty())
            expected[1] += ':' + port;
        QCOMPARE(SipId::ParseURIEx(text, user, host, name, postDial), parsed);
        QCOMPARE((QStringList{user, host, name, postDial}), expected.mid(0, 4));
        QCOMPARE(SipId::ParseURI(text, user, host, name), parsed);
        QCOMPARE((QStringList{user, host, name}), expected.mid(0, 3));
    }

    void portIsLeftWhereTheFormHasNone()
    {
        QString user, host, name, postDial, port = "9";
        SipId::ParseURIEx("alice", user, host, name, postDial, port);
        QCOMPARE(port, "9");
        SipId::ParseURIEx("alice@atlanta.com", user, host, name, postDial, port);
        QCOMPARE(port, "");
    }

    void check_data()
    {
        QTest::addColumn<int>("expected");
        const auto rows = [](int expected, const QStringList& texts) {
            for (const QString& text : texts)
                QTest::newRow(qPrintable(text)) << expected;
        };
        rows(0, {"alice@zelkosip.test", "Alice.B@sub.ZELKOSIP.ru", "a@zelkosip.com:99999"});
        rows(1, {"alice", "@zelkosip.test", "alice@", "alice@OTHER.test", "@a+b",
                 "alice@zelkosip.museum", "alice@zelkosip.test:05060",
                 "alice@zelkosip.test@zelkosip.test"});
        rows(2, {"a b", "alice@zelko_sip.test", "\"alice\"@zelkosip.test", "alice@a@b+c"});
        rows(3, {"", "alice@zelkosip.test:100000", "sip:alice@zelkosip.test", QString(256, 'a')});
    }

    void check()
    {
        QFETCH(int, expected);
        const QString id = QTest::currentDataTag();
        QCOMPARE(SipId::Check(id), expected);
        QCOMPARE(SipId::IsValid(id), expected == 0);
    }

    void twoPortsInARow()
    {
        const QString id = "alice@zelkosip.test:5060:5061";
        QVERIFY(SipId::ZelkoSipIDRegExp().exactMatch(id));
        QVERIFY(!SipId::FormatRegExp().exactMatch(id));
    }

    void password()
    {
        for (const char* good : {"12345678", "пароль-ПАРОЛЬ", "[{\\|/}]`~", "aaaaaaaaaaaaaaaaaaaa"})
            QVERIFY2(Password::IsGood(good), good);
        for (const char* bad :
             {"1234567", "aaaaaaaaaaaaaaaaaaaaa", "with space", "ёёёёёёёё", "'quoted'"})
            QVERIFY2(!Password::IsGood(bad), bad);
        for (ushort code = 1; code < 0x500; ++code) {
            const QString same(8, QChar(code));
            QCOMPARE(Password::IsGood(same), Password::PasswordSymbolRegExp().exactMatch(same));
        }
    }

    void webServicesFollowHost()
    {
        const QString primary = "https://" PRIMARY_HOST "/integration/vesper";
        const QString alternative = "https://" ALTERNATIVE_HOST "/integration/vesper";
        QCOMPARE(Web::GetWebServisesUrl("<sip:a@example.ru>"), primary);
        QCOMPARE(Web::GetUrl("a@example.ru", "1", "2"), "1");
        const QList<QPair<const char*, int>> others = {{"a@example.eu", 2},
                                                       {"a@example.RU", 0},
                                                       {"a@example.ru:5060", 0},
                                                       {"a.ru", 0},
                                                       {"", 0}};
        for (const auto& [uri, locale] : others) {
            QCOMPARE(Web::GetLocale(uri), locale);
            QCOMPARE(Web::GetWebServisesUrl(uri), alternative);
        }
    }
};

QTEST_GUILESS_MAIN(TestSipId)
#include "tst_sipid.moc"
