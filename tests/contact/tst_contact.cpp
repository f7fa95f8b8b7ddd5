#include <common/contact/contactcontext.h>
#include <common/tools/sip/sipid.h>

#include "support/cases.h"

#include <QImage>

#include <future>
#include <vector>

using common::contact::ContactContext;

namespace contact = common::contact;

namespace {

struct NumberCase
{
    const char* name; // one text, or user|host|extension
    int kind;
    QString expected; // user|host|extension|URI|contact number
};

QString Described(const contact::IContactContext& party)
{
    return QStringList{party.User(), party.Host(), party.Extention(), party.URI(),
                       party.ContactNumber()}
        .join('|');
}

} // namespace

class TestContact : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void number_data()
    {
        const auto at = [](const char* expected) {
            return QString(expected).replace("OWN", SIP_HOST).replace("EXTERNAL", EXTERNAL_HOST);
        };
        AddCases<NumberCase>(
            {{"Al|SUB." SIP_HOST ":5060|1", 0, at("Al|sub.OWN:5060|1|Al@sub.OWN:5060|Al,1")},
             {"+7 (495)|" EXTERNAL_HOST "|1", 1,
              at("+7 (495)|EXTERNAL|1|+7 (495)@EXTERNAL|+7 (495),1")},
             {"0001|" EXTERNAL_HOST "|", 2, at("0001|EXTERNAL||0001@EXTERNAL|0001@EXTERNAL")},
             {"12|" EXTERNAL_HOST ":5060|", 0, at("12|EXTERNAL:5060||12@EXTERNAL:5060|12")},
             {"112@example.com,,34", 1, "112|example.com|34|112@example.com|112,34"},
             {"\"B\" <sip:Bob@Ab.COM:5060>", 2, "Bob|ab.com:5060||Bob@ab.com:5060|Bob@ab.com:5060"},
             {"bob||12", 2, "bob||12|bob,12|bob,12"},
             {"Echo| Skype.COM |", 3, "echo|skype.com||echo@skype.com|echo@skype.com"},
             {" 1 ||,,12 3a#xFG*%\u0436", 1, "1||123a#F*|1,123a#F*|1,123a#F*"}});
    }

    void number()
    {
        const auto& [name, kind, expected] = CurrentCase<NumberCase>();
        const QStringList parts = QString(name).split('|');
        const auto number = parts.size() == 1
                                ? contact::number::CreateInstance(parts[0])
                                : contact::number::CreateInstance(parts[0], parts[1], parts[2]);
        const ContactContext party(number, "Jane");
        QCOMPARE(Described(party), expected);
        QCOMPARE(number->Type(), kind);
        QCOMPARE(party.Type(), kind);
        QCOMPARE(party.Number(), (kind == 3 ? "skype: " : "") + party.ContactNumber());
    }

    void nameThatRepeatsTheUserIsNotShown()
    {
        QCOMPARE(contact::CreateInstance("alice@a.com", "alice")->Name(), "");
        QCOMPARE(contact::CreateInstance("alice@a.com", "alice")->DisplayName(), "alice");
        QCOMPARE(contact::CreateInstance("alice@a.com", "Alice")->Name(), "Alice");
    }

    void partiesOutsideAnyAddressBook()
    {
        const auto party = contact::CreateInstance("123", "example.com", "Jane", ",4x5");
        QCOMPARE(Described(*party), "123|example.com|45|123@example.com|123,45");
        QVERIFY(!party->IsKnown());
        QCOMPARE(party->Ringtone(), ":/ringtones/Ringtone Default.wav");
        QImage image;
        QCOMPARE(&party->Image(image), &image);
        QVERIFY(image.isNull());

        const ContactContext withoutNumber({}, "Jane");
        QCOMPARE(withoutNumber.Type(), 1);
        QCOMPARE(withoutNumber.Name() + Described(withoutNumber), "Jane||||");
    }

    // Matching changes a pattern: threads with unlike texts notice one that they share.
    void anyThread()
    {
        const auto isRight = [](const char* id, int expected) {
            bool right = true;
            for (int round = 0; round < 20000 && right; ++round)
                right = tools::sip::SipId::Check(id) == expected;
            return right;
        };
        std::vector<std::future<bool>> threads(4);
        for (size_t i = 0; i < threads.size(); ++i)
            threads[i] = std::async(std::launch::async, isRight, i % 2 ? "a@b_c.com" : "a@b.com",
                                    i % 2 ? 2 : 1);
        for (auto& thread : threads)
            QVERIFY(thread.get());
    }
};

QTEST_GUILESS_MAIN(TestContact)
#include "tst_contact.moc"
