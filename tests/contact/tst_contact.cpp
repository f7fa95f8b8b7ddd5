#include <common/contact/contactcontext.h>
#include <common/tools/sip/sipid.h>

#include <QImage>
#include <QtTest>

#include <future>

using common::contact::ContactContext;

namespace contact = common::contact;

class TestContact : public QObject
{
    Q_OBJECT

private:
    static QString Described(const contact::IContactContext& party)
    {
        return QStringList{party.User(), party.Host(), party.Extention(), party.URI(),
                           party.ContactNumber()}
            .join('|');
    }

private Q_SLOTS:
    void number()
    {
        const std::tuple<QString, int, QString> rows[] = {
            // one text, or user|host|extension; user|host|extension|URI|contact number
            {"Al|SUB.OWN:5060|1", 0, "Al|sub.OWN:5060|1|Al@sub.OWN:5060|Al,1"},
            {"+7 (495)|EXTERNAL|1", 1, "+7 (495)|EXTERNAL|1|+7 (495)@EXTERNAL|+7 (495),1"},
            {"0001|EXTERNAL|", 2, "0001|EXTERNAL||0001@EXTERNAL|0001@EXTERNAL"},
            {"12|EXTERNAL:5060|", 0, "12|EXTERNAL:5060||12@EXTERNAL:5060|12"},
            {"112@example.com,,34", 1, "112|example.com|34|112@example.com|112,34"},
            {"\"B\" <sip:Bob@Ab.COM:5060>", 2, "Bob|ab.com:5060||Bob@ab.com:5060|Bob@ab.com:5060"},
            {"bob||12", 2, "bob||12|bob,12|bob,12"},
            {"Echo| Skype.COM |", 3, "echo|skype.com||echo@skype.com|echo@skype.com"},
            {" 1 ||,,12 3a#xFG*%\u0436", 1, "1||123a#F*|1,123a#F*|1,123a#F*"}};
        const auto onHosts = [](QString text) {
            return text.replace("OWN", SIP_HOST).replace("EXTERNAL", EXTERNAL_HOST);
        };
        for (const auto& [text, kind, expected] : rows) {
            const QStringList parts = onHosts(text).split('|');
            const auto number = parts.size() == 1
                                    ? contact::number::CreateInstance(parts[0])
                                    : contact::number::CreateInstance(parts[0], parts[1], parts[2]);
            const ContactContext party(number, "Jane");
            QCOMPARE(Described(party), onHosts(expected));
            QVERIFY(number->Type() == kind && party.Type() == kind);
            QCOMPARE(party.Number(), (kind == 3 ? "skype: " : "") + party.ContactNumber());
        }
    }

    void partiesOutsideAnyAddressBook()
    {
        const auto party = contact::CreateInstance("123", "example.com", "Jane", ",4x5");
        QCOMPARE(Described(*party), "123|example.com|45|123@example.com|123,45");
        QCOMPARE(party->Ringtone(), ":/ringtones/Ringtone Default.wav");
        QImage image;
        QVERIFY(&party->Image(image) == &image && image.isNull());
        const ContactContext withoutNumber({}, "Jane");
        QCOMPARE(withoutNumber.Type(), 1);
        QCOMPARE(withoutNumber.Name() + Described(withoutNumber), "Jane||||");

        // A name that repeats the user is not shown.
        QCOMPARE(contact::CreateInstance("alice@a.com", "alice")->Name(), "");
        QCOMPARE(contact::CreateInstance("alice@a.com", "alice")->DisplayName(), "alice");
        QCOMPARE(contact::CreateInstance("alice@a.com", "Alice")->Name(), "Alice");
    }

    // Matching changes a pattern: threads with unlike texts notice one that they share.
    void anyThread()
    {
        const auto rightResults = [](const char* id, int expected) {
            int right = 0;
            for (int round = 0; round < 40000; ++round)
                right += tools::sip::SipId::Check(id) == expected;
            return right;
        };
        auto other = std::async(std::launch::async, rightResults, "a@b_c.com", 2);
        QCOMPARE(rightResults("a@b.com", 1) + other.get(), 80000);
    }
};

QTEST_GUILESS_MAIN(TestContact)
#include "tst_contact.moc"
