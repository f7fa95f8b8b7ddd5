#include <common/tools/version.h>

#include <QtTest>

using common::Version;

class TestVersion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* text, const char* expected) {
            QTest::newRow(text) << QString(expected);
        };
        row("5.1.0.12", "5.1.0.12");
        row("1.2", "1.2.0.0");
        row("1-2_3,4", "1.2.3.4");
        row("1.2.3.4.5", "1.2.3.4");
        row("1..3", "1.0.3.0");
        row("1.2b", "1.0.0.0");
        row("a.b.c.d", "0.0.0.0");
        row("", "0.0.0.0");
        row("007.+1. 1.٣", "7.0.0.0");
        row("4294967295.4294967296.99999999999999999999", "4294967295.0.0.0");
    }

    void parse()
    {
        QFETCH(QString, expected);
        const Version version(QTest::currentDataTag());
        QCOMPARE(version.ToString(), expected);
        QCOMPARE(version.IsNull(), expected == "0.0.0.0");
    }

    void partsWithoutPieceAreKept()
    {
        Version version(1, 2, 3, 4);
        QVERIFY(version.parse("7"));
        QCOMPARE(version.ToString(), "7.2.3.4");
        version.parse(QString("1.2") + QChar(0xD800) + ".3-4");
        QCOMPARE(version.ToString(), "1.0.3.4");
        QVERIFY(Version(static_cast<const char*>(nullptr)).IsNull());
    }

    void order()
    {
        const QList<Version> ascending = {"0.0.0.1",  "1.9.5",      "1.10",
                                          "1.10.0.1", "2147483648", "4294967295"};
        for (int i = 0; i < ascending.size(); ++i) {
            for (int j = 0; j < ascending.size(); ++j) {
                const Version& a = ascending[i];
                const Version& b = ascending[j];
                QCOMPARE(a.less(b), i < j);
                QCOMPARE(a.greater(b), i > j);
                QCOMPARE(a.equal(b), i == j);
                QVERIFY((a < b) == (i < j) && (a > b) == (i > j) && (a == b) == (i == j));
                QVERIFY((a <= b) == (i <= j) && (a >= b) == (i >= j) && (a != b) == (i != j));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestVersion)
#include "tst_version.moc"
