#include <common/tools/insertionfixupvalidator.h>

#include "support/cases.h"

#include <QLineEdit>

using tools::CInsertionFixupValidator;

namespace {

struct FixupCase
{
    const char* name;
    const char* pattern;
    QString text; // the cursor is at "|"
    QString expected;
    QValidator::State state = QValidator::Acceptable;
};

} // namespace

class TestValidator : public QObject
{
    Q_OBJECT

public:
    static void initMain() { qputenv("QT_QPA_PLATFORM", "offscreen"); }

private Q_SLOTS:
    void fixup_data()
    {
        AddCases<FixupCase>({{"mixed paste", "[0-9]*", "12a3b4|", "1234|"},
                             {"all wrong", "[0-9]+", "abc|", "|", QValidator::Intermediate},
                             {"fits", "[0-9]*", "1|23", "1|23"},
                             {"beginning of a match", "[0-9]{3}-[0-9]{2}", "123|", "123|",
                              QValidator::Intermediate},
                             {"too long", "[0-9]{3}", "123|45", "123|"},
                             {"wrong on both sides", "[0-9]*", "xy|1z2", "|12"},
                             {"cut behind after a removal", "[0-9]{3}", ".3|233", "3|23"},
                             {"changed on both sides alike", "[0-9]*", "x1|x1", "1|1"},
                             {"broken pattern", "[0-9", "a|b", "a|b", QValidator::Invalid}});
    }

    void fixup()
    {
        const auto& row = CurrentCase<FixupCase>();
        int pos = row.text.indexOf('|');
        QString text = QString(row.text).remove('|');
        const CInsertionFixupValidator validator{QRegExp(row.pattern)};
        QCOMPARE(validator.validate(text, pos), row.state);
        if (row.state != QValidator::Invalid) // for which the base class moves the cursor
            QCOMPARE(text.insert(pos, '|'), row.expected);
    }

    void positionOutsideTheText()
    {
        const CInsertionFixupValidator validator{QRegExp("[0-9]*")};
        for (int pos : {-1, 5}) {
            QString text = "1a2";
            const int expected = pos < 0 ? 0 : 2;
            validator.validate(text, pos);
            QCOMPARE(pos, expected);
        }
    }

    void fixupOfASubclassIsUsedOnce()
    {
        struct Clearing : CInsertionFixupValidator
        {
            using CInsertionFixupValidator::CInsertionFixupValidator;
            void fixup(QString& input) const override
            {
                ++calls;
                input.clear();
            }
            mutable int calls = 0;
        };
        const Clearing validator(QRegExp("[a-z]*"));
        QString text = "abc";
        int pos = 2;
        validator.validate(text, pos);
        QCOMPARE(text, "");
        QCOMPARE(pos, 0);
        QCOMPARE(validator.calls, 1);
    }

    void lineEditKeepsAllowedRest()
    {
        QLineEdit edit;
        edit.setValidator(new CInsertionFixupValidator(QRegExp("[0-9]*"), &edit));
        edit.insert("+7 (495) 555");
        QCOMPARE(edit.text(), "7495555");
        edit.setCursorPosition(1);
        QTest::keyClicks(&edit, "x9y");
        QCOMPARE(edit.text(), "79495555");
        QCOMPARE(edit.cursorPosition(), 2);
    }
};

QTEST_MAIN(TestValidator)
#include "tst_validator.moc"
