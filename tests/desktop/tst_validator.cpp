#include <common/tools/insertionfixupvalidator.h>

#include <QLineEdit>
#include <QtTest>

using tools::CInsertionFixupValidator;

namespace {

// The text and its cursor "|" after it was validated.
template <typename Validator = CInsertionFixupValidator>
QString Validated(const char* pattern, QString text, QValidator::State expected)
{
    int pos = text.indexOf('|');
    text.remove('|');
    const bool right = Validator(QRegExp(pattern)).validate(text, pos) == expected;
    return right ? text.insert(pos, '|') : "in another state";
}

struct Shortening : CInsertionFixupValidator
{
    using CInsertionFixupValidator::CInsertionFixupValidator;
    void fixup(QString& input) const override { input.chop(1); }
};

} // namespace

class TestValidator : public QObject
{
    Q_OBJECT

public:
    static void initMain() { qputenv("QT_QPA_PLATFORM", "offscreen"); }

private Q_SLOTS:
    void cursorStaysBehindWhatWasBeforeIt()
    {
        const auto acceptable = QValidator::Acceptable;
        QCOMPARE(Validated("[0-9]*", "12a3b4|", acceptable), "1234|");
        QCOMPARE(Validated("[0-9]{3}", "123|45", acceptable), "123|");
        QCOMPARE(Validated("[0-9]{3}", ".3|233", acceptable), "3|23");
        QCOMPARE(Validated("[0-9]*", "x1|x1", acceptable), "1|1");
        QCOMPARE(Validated("[0-9]+", "abc|", QValidator::Intermediate), "|");
        QCOMPARE(Validated("[0-9]{3}-[0-9]{2}", "123|", QValidator::Intermediate), "123|");
        QCOMPARE(Validated("[0-9", "a|b", QValidator::Invalid).remove('|'), "ab");
        QCOMPARE(Validated<Shortening>("[a-z]*", "ab|cd", acceptable), "ab|c"); // once
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
