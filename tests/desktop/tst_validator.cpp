#include <common/tools/insertionfixupvalidator.h>

#include <QLineEdit>
#include <QtTest>

using tools::CInsertionFixupValidator;

class TestValidator : public QObject
{
    Q_OBJECT

public:
    static void initMain() { qputenv("QT_QPA_PLATFORM", "offscreen"); }

private Q_SLOTS:
    void fixup_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("text"); // the cursor is at "|"
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("state");
        const auto row = [](const char* name, const char* pattern, const char* text,
                            const char* expected, QValidator::State state) {
            QTest::newRow(name) << pattern << text << expected << int(state);
        };
        row("mixed paste", "[0-9]*", "12a3b4|", "1234|", QValidator::Acceptable);
        row("all wrong", "[0-9]+", "abc|", "|", QValidator::Intermediate);
        row("fits", "[0-9]*", "1|23", "1|23", QValidator::Acceptable);
        row("beginning of a match", "[0-9]{3}-[0-9]{2}", "123|", "123|", QValidator::Intermediate);
        row("too long", "[0-9]{3}", "123|45", "123|", QValidator::Acceptable);
        row("typed amid others", "[0-9]*", "12x|34", "12|34", QValidator::Acceptable);
        row("wrong on both sides", "[0-9]*", "xy|1z2", "|12", QValidator::Acceptable);
        row("cut behind, the same before", "[0-9]{3}", "11|11", "11|1", QValidator::Acceptable);
        row("cut behind", "[0-9]{3}", "19|23", "19|2", QValidator::Acceptable);
        row("cut behind after a removal", "[0-9]{3}", ".3|233", "3|23", QValidator::Acceptable);
        row("one of two alike", "[0-9]{2}", "1x|11", "1|1", QValidator::Acceptable);
        row("changed on both sides alike", "[0-9]*", "x1|x1", "1|1", QValidator::Acceptable);
        row("all but one changed", "[0-9]*", "abcd1|x", "1|", QValidator::Acceptable);
        row("empty", "[0-9]+", "|", "|", QValidator::Intermediate);
        row("broken pattern", "[0-9", "a|b", "a|b", QValidator::Invalid);
    }

    void fixup()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(int, state);
        int pos = text.indexOf('|');
        text.remove('|');
        const CInsertionFixupValidator validator{QRegExp(pattern)};
        const int result = validator.validate(text, pos);
        QVERIFY(pos <= text.size());
        if (state != QValidator::Invalid) // for which the base class moves the cursor
            QCOMPARE(text.insert(pos, '|'), expected);
        QCOMPARE(result, state);
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

    void furtherFixupIsUsed()
    {
        struct Upper : CInsertionFixupValidator
        {
            using CInsertionFixupValidator::CInsertionFixupValidator;
            void fixup(QString& input) const override
            {
                ++calls;
                input = input.toUpper();
            }
            mutable int calls = 0;
        };
        const Upper validator(QRegExp("[A-Z]*"));
        QString text = "ABxC"; // "x" was typed
        int pos = 3;
        QCOMPARE(validator.validate(text, pos), QValidator::Acceptable);
        QCOMPARE(text, "ABXC");
        QCOMPARE(pos, 3);
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
