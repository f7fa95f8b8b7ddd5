#include <common/contact/contactcontext.h>
#include <common/tools/sip/sipid.h>
#include <common/tools/version.h>

#include <QImage>
#include <QSignalSpy>
#include <QtTest>

#include <future>
#include <vector>

using common::contact::ContactContext;
using common::contact::IContactContext;
using common::contact::number::INumberContext;

namespace contact = common::contact;

class TestContact : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void number_data()
    {
        QTest::addColumn<QStringList>("parts"); // one text, or user, host and extension
        QTest::addColumn<int>("kind");
        QTest::addColumn<QStringList>("expected"); // user, host, extension, URI, contact number
        const auto row = [](const char* name, const QStringList& parts, int kind,
                            const QStringList& expected) {
            QTest::newRow(name) << parts << kind << expected;
        };
        const QString own = SIP_HOST;
        const QString external = EXTERNAL_HOST;

        row("own account", {"Alice@" + own}, 0, {"Alice", own, "", "Alice@" + own, "Alice"});
        row("own account, extension", {"alice", "SUB." + own.toUpper() + ":5060", "12"}, 0,
            {"alice", "sub." + own + ":5060", "12", "alice@sub." + own + ":5060", "alice,12"});
        row("number on the external host", {"+7 (495) 555-01-23", external.toUpper(), "1"}, 1,
            {"+7 (495) 555-01-23", external, "1", "+7 (495) 555-01-23@" + external,
             "+7 (495) 555-01-23,1"});
        row("zeros on the external host", {"000123", external, ""}, 2,
            {"000123", external, "", "000123@" + external, "000123@" + external});
        row("external host with port", {"123", external + ":5060", ""}, 0,
            {"123", external + ":5060", "", "123@" + external + ":5060", "123"});
        row("number", {"+74955550123,,1 2"}, 1,
            {"74955550123", "", "12", "74955550123,12", "74955550123,12"});
        row("number at a foreign host", {"112@example.com,,34"}, 1,
            {"112", "example.com", "34", "112@example.com", "112,34"});
        row("not an address, but numeric", {" +7 495 555 "}, 1,
            {"+7 495 555", "", "", "+7 495 555", "+7 495 555"});
        row("nothing", {""}, 1, {"", "", "", "", ""});
        row("zeros", {"000"}, 2, {"000", "", "", "000", "000"});
        row("foreign account", {"\"Bob\" <sip:Bob@Example.COM:5060>"}, 2,
            {"Bob", "example.com:5060", "", "Bob@example.com:5060", "Bob@example.com:5060"});
        row("user with extension", {"bob", "", "12"}, 2, {"bob", "", "12", "bob,12", "bob,12"});
        row("not an address", {" who knows "}, 2, {"who knows", "", "", "who knows", "who knows"});
        row("skype", {"Echo", " Skype.COM ", ""}, 3,
            {"echo", "skype.com", "", "echo@skype.com", "echo@skype.com"});
        row("skype, short", {"123", "skype", ""}, 3,
            {"123", "skype", "", "123@skype", "123@skype"});
        row("skype uri", {"skype:Echo.123"}, 3,
            {"echo.123", "skype.com", "", "echo.123@skype.com", "echo.123@skype.com"});
        row("extension is filtered", {" 1 ", "", QString(",,12 3a#xFG*%1").arg(QChar(0xD800))}, 1,
            {"1", "", "123a#F*", "1,123a#F*", "1,123a#F*"});
    }

    void number()
    {
        QFETCH(QStringList, parts);
        QFETCH(int, kind);
        QFETCH(QStringList, expected);
        const QSharedPointer<INumberContext> number =
            parts.size() == 1 ? contact::number::CreateInstance(parts[0])
                              : contact::number::CreateInstance(parts[0], parts[1], parts[2]);
        QCOMPARE((QStringList{number->User(), number->Host(), number->Extention(), number->URI(),
                              number->ContactNumber()}),
                 expected);
        QCOMPARE(number->Type(), kind);
        QCOMPARE(number->Number(), (kind == 3 ? "skype: " : "") + expected.last());

        const ContactContext party(number, "Jane");
        QCOMPARE((QStringList{party.User(), party.Host(), party.Extention(), party.URI(),
                              party.ContactNumber()}),
                 expected);
        QCOMPARE(party.Type(), kind);
        QCOMPARE(party.Number(), number->Number());
    }

    void nameThatRepeatsTheUserIsNotShown()
    {
        const auto names = [](const char* name) {
            const auto party = contact::CreateInstance("alice@example.com", name);
            return QStringList{party->Name(), party->DisplayName()};
        };
        QCOMPARE(names(""), (QStringList{"", ""}));
        QCOMPARE(names("alice"), (QStringList{"", "alice"}));
        QCOMPARE(names("Alice"), (QStringList{"Alice", "Alice"}));
    }

    void partiesOutsideAnyAddressBook()
    {
        const auto party = contact::CreateInstance("123", "example.com", "Jane", ",4x5");
        QCOMPARE(party->ContactNumber(), "123,45");
        QCOMPARE(party->Name(), "Jane");
        QVERIFY(!party->IsKnown());
        QCOMPARE(party->Ringtone(), ":/ringtones/Ringtone Default.wav");
        QImage image(2, 2, QImage::Format_RGB32);
        image.fill(Qt::red);
        const QImage before = image.copy();
        QCOMPARE(&party->Image(image), &image);
        QCOMPARE(image, before);
        QVERIFY(QSignalSpy(party.data(), SIGNAL(changed())).isValid());
    }

    // The patterns are shared, and matching changes a pattern.
    void anyThread()
    {
        std::vector<std::future<bool>> results;
        results.reserve(4);
        for (int thread = 0; thread < 4; ++thread) {
            results.push_back(std::async(std::launch::async, [] {
                bool right = true;
                for (int round = 0; round < 3000 && right; ++round)
                    right = contact::CreateInstance("a@b.com,,1 2", "")->Extention() == "12" &&
                            tools::sip::SipId::Check("a@b_c.com") == 2 &&
                            common::Version("1-2_3").ToString() == "1.2.3.0";
                return right;
            }));
        }
        for (auto& result : results)
            QVERIFY(result.get());
    }

    void partyWithoutNumber()
    {
        const QScopedPointer<IContactContext> party(ContactContext::CreateInstance({}, "Jane"));
        QCOMPARE(party->Type(), 1);
        QCOMPARE(party->User() + party->Host() + party->Extention() + party->URI() +
                     party->Number() + party->ContactNumber(),
                 "");
        QCOMPARE(party->Name(), "Jane");
    }
};

QTEST_GUILESS_MAIN(TestContact)
#include "tst_contact.moc"
