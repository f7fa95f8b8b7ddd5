#include <common/tools/sip/normaladdress.h>
#include <common/tools/sip/sipid.h>

#include <QRandomGenerator>
#include <QtTest>

using tools::sip::NormalAddress;
using tools::sip::Normalise;
using tools::sip::SipId;

namespace {

struct Case
{
    const char* written;
    const char* text;         // nothing if it is refused
    const char* dropped = ""; // joined by blanks
    int problem = NormalAddress::NoProblem;
};

const Case cases[] = {
    // RFC 3966.
    {"tel:+1-201-555-0123", "+12015550123"},
    {"tel:7042;phone-context=example.com", "7042@example.com"},
    {"tel:863-1234;phone-context=+1-914-555", "8631234", ";phone-context=+1-914-555"},
    {"TEL:+358-555-1234567;isub=1411;ext=12;postd=pp22", "+3585551234567,12,,22", ";isub=1411"},
    {"tel:+1-201-555-0123;phone-context=example.com", "+12015550123", ";phone-context=example.com"},
    // RFC 3261, section 19.1.3.
    {"sip:alice@atlanta.com", "alice@atlanta.com"},
    {"sip:alice:secretword@atlanta.com;transport=tcp", "alice@atlanta.com",
     "password ;transport=tcp"},
    {"sips:alice@atlanta.com?subject=project%20x&priority=urgent", "alice@atlanta.com",
     "sips: ?subject=project%20x&priority=urgent"},
    {"sip:+1-212-555-1212:1234@gateway.com;user=phone", "+12125551212@gateway.com", "password"},
    {"sips:1212@gateway.com", "1212@gateway.com", "sips:"},
    {"sip:alice@192.0.2.4", "", "", NormalAddress::HostIsAddress},
    {"sip:atlanta.com;method=REGISTER?to=alice%40atlanta.com", "", "?to=alice%40atlanta.com",
     NormalAddress::UserMissing},
    {"sip:alice;day=tuesday@atlanta.com", "alice;day=tuesday@atlanta.com"},
    {"sip:%61lice@atlanta.com;transport=TCP", "alice@atlanta.com", ";transport=TCP"},
    // Numbers as people write them.
    {"+7 (495) 555-01-23", "+74955550123"},
    {"\u200E+7\u00A0495\u202F555\u201101\u201323\u202C\n", "+74955550123"},
    {"＋７（４９５）５５５０１２３", "+74955550123"},
    {"٠١٢٣", "0123"},
    {"+44 (0)20 7946 0958", "+442079460958", "(0)"},
    {"8(800)555.01.23,,1 2", "88005550123,,12"},
    {"112,5", "112,,5"},
    {"tel:*100%23", "*100#"},
    {"callto://+7%20495%205550123,", "+74955550123"},
    {"sip:+74955550123", "+74955550123"},
    {"tel:112", "112"},
    {"tel:7;ext=x", "", "", NormalAddress::WrongCharacter},
    {"tel:1-800-FLOWERS", "", "", NormalAddress::WrongCharacter},
    {"( )", "", "", NormalAddress::Empty},
    {"555+1", "555+1"},
    // Users, hosts, names.
    {" \"Roe, \\\"J\\\"\" <sip:jane%2Broe@example.com:5060;lr>;tag=1", "jane+roe@example.com:5060",
     ";tag=1 ;lr"},
    {"Jane <jane@example.com>", "jane@example.com"},
    {"<tel:+7-495>", "+7495"},
    {"sip:sips%3Auser%40example.com@example.net", "sips%3Auser%40example.com@example.net"},
    {"100%@example.com", "100%@example.com"},
    {"%61lice", "%61lice"},
    {"alice@example.com:5060,,1 2", "alice@example.com:5060,,12"},
    {"skype:echo%31?call", "skype:echo1", "?call"},
    {"skype:+7-495?call", "+7495", "?call"},
    {"callto:alice", "alice"},
    {"sip:100@pbx", "", "", NormalAddress::HostIsShort},
    {"joe@192.168.1.10", "", "", NormalAddress::HostIsAddress},
    {"joe@[2001:db8::1]:5060", "", "", NormalAddress::HostIsAddress},
    {"192.168.1.10", "", "", NormalAddress::HostIsAddress},
    {"joe@example.online", "", "", NormalAddress::HostEnding},
    {"joe@exam_ple.com", "", "", NormalAddress::HostMalformed},
    {"joe@example.com:0", "", "", NormalAddress::PortMalformed},
    {"joe@example.com:65536", "", "", NormalAddress::PortMalformed},
    {"sip:alice", "", "", NormalAddress::HostMissing},
    {"alice@", "", "", NormalAddress::HostMissing},
    {"@example.com", "", "", NormalAddress::UserMissing},
    {"joe smith@example.com", "", "", NormalAddress::WrongCharacter},
    {"skype:live:joe", "", "", NormalAddress::WrongCharacter},
    {"joe..b@example.com", "", "", NormalAddress::UserMalformed},
    {"mailto:joe@example.com", "", "", NormalAddress::UnknownLink},
    {" \t\u200B", "", "", NormalAddress::Empty},
    {"tel:", "", "", NormalAddress::Empty},
};

QString AnyText(QRandomGenerator& random)
{
    static const QStringList pieces = {"sip:",     "sips:",  "tel:",        "callto:",
                                       "skype:",   "//",     "+",           "7",
                                       "495",      "(0)",    "-",           " ",
                                       "alice",    "@",      "%",           "%4",
                                       "%41",      "%25",    "%2F",         "%3F",
                                       "%40",      "%2C",    "%20",         ".",
                                       ":",        ":80",    ";ext=1",      ";",
                                       "?",        ",",      "a.com",       "skype",
                                       ",,1",      "#",      "*",           "<",
                                       ">",        "\"",     "\\",          "\u00A0",
                                       "/",        "p",      "\u200B",      "\u2013",
                                       "１",       "\u0660", "[",           "=",
                                       "b@c.de",   "\uFF05", ";user=phone", ";phone-context=a.com",
                                       ";postd=w1"};
    QString text;
    for (int left = random.bounded(1, 9); left > 0; --left)
        text += pieces[random.bounded(pieces.size())];
    return random.bounded(20) ? text : text + QChar(random.bounded(0x10000));
}

} // namespace

Q_DECLARE_METATYPE(const Case*)

class TestNormalAddress : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void known_data()
    {
        QTest::addColumn<const Case*>("c");
        for (const Case& c : cases)
            QTest::newRow(c.written) << &c;
    }

    void known()
    {
        QFETCH(const Case*, c);
        const NormalAddress address = Normalise(c->written);
        QCOMPARE(address.text, c->text);
        QCOMPARE(address.dropped.join(' '), c->dropped);
        QCOMPARE(int(address.problem), c->problem);
        QCOMPARE(address.reason.isEmpty(), !c->problem);
    }

    void zeroIsNoDigit()
    {
        QCOMPARE(int(Normalise(QString("1%12").arg(QChar(0))).problem),
                 int(NormalAddress::WrongCharacter));
    }

    void nameIsWithoutQuotes()
    {
        QCOMPARE(Normalise("\"Roe, \\\"J\\\"\" <jane@a.com>").displayName, "Roe, \"J\"");
        QCOMPARE(Normalise(" Jane ５ <jane@a.com>").displayName, "Jane ５");
    }

    void acceptedParsesAndStays()
    {
        QRandomGenerator random(quint32(qEnvironmentVariableIntValue("QVCOMMON_SEED")));
        int accepted = 0;
        QString parts[5];
        for (int i = 0; i < 50000; ++i) {
            const QString written = AnyText(random);
            const NormalAddress address = Normalise(written);
            accepted += !address.problem;
            const bool holds = address.problem ? address.text.isEmpty()
                                               : SipId::ParseURIEx(address.text, parts[0], parts[1],
                                                                   parts[2], parts[3], parts[4]) &&
                                                     Normalise(address.text).text == address.text;
            QVERIFY2(holds, qPrintable(written + " -> " + address.text + " -> " +
                                       Normalise(address.text).text));
        }
        QVERIFY2(accepted > 5000 && accepted < 45000, qPrintable(QString::number(accepted)));
    }
};

QTEST_GUILESS_MAIN(TestNormalAddress)
#include "tst_normaladdress.moc"
