#include <common/tools/datewatcher.h>

#include <QtTest>

#include <ctime>

using tools::DateWatcher;

namespace {

struct WatcherWithClock : DateWatcher
{
    WatcherWithClock() : DateWatcher(nullptr) {}
    QDateTime Now() const override { return now; }

    QDateTime now;
};

void SetZone(const char* name)
{
    qputenv("TZ", name);
    tzset();
}

} // namespace

class TestDateWatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { SetZone("UTC"); }

    void polls_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QStringList>("times"); // UTC
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char* name, const char* zone, const QStringList& times,
                            const QStringList& expected) {
            QTest::newRow(name) << QByteArray(zone) << times << expected;
        };
        row("midnight", "UTC",
            {"2026-05-01T23:59:59", "2026-05-02T00:00:00", "2026-05-02T00:00:03"},
            {"date 2026-05-02 0"});
        row("midnight in Moscow", "Europe/Moscow", {"2026-05-01T20:59:59", "2026-05-01T21:00:01"},
            {"date 2026-05-02 10800"});
        row("the clock is set back", "UTC", {"2026-05-01T12:00:00", "2026-04-30T12:00:00"},
            {"date 2026-04-30 0"});
        row("summer time begins", "Europe/Berlin", {"2026-03-29T00:59:59", "2026-03-29T01:00:00"},
            {"zone 2026-03-29 7200"});
        row("summer time ends", "Europe/Berlin", {"2026-10-25T00:59:59", "2026-10-25T01:00:00"},
            {"zone 2026-10-25 3600"});
        row("half hours", "Australia/Lord_Howe", {"2026-04-04T14:59:59", "2026-04-04T15:00:00"},
            {"zone 2026-04-05 37800"});
        row("switch at midnight", "Asia/Beirut", {"2026-03-28T21:59:59", "2026-03-28T22:00:00"},
            {"zone 2026-03-29 10800"});
    }

    void polls()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QStringList, times);
        QFETCH(QStringList, expected);
        SetZone(zone.constData());
        WatcherWithClock watcher;
        QStringList seen;
        const auto note = [&](const char* what) {
            seen << QString("%1 %2 %3")
                        .arg(what, watcher.GetCurrentDate().toString(Qt::ISODate))
                        .arg(watcher.GetTimeZone().offsetFromUtc(watcher.now));
        };
        for (const QString& time : times) {
            watcher.now = QDateTime::fromString(time + 'Z', Qt::ISODate).toLocalTime();
            watcher.OnTimerTimeout();
            if (time == times.first()) { // from here on
                connect(&watcher, &DateWatcher::currentDateChanged, this, [&] { note("date"); });
                connect(&watcher, &DateWatcher::currentTimeZoneChanged, this,
                        [&] { note("zone"); });
            }
        }
        QCOMPARE(seen, expected);
    }

    void zoneOfTheSystemChanges()
    {
        SetZone("UTC");
        DateWatcher watcher(nullptr);
        QSignalSpy zone(&watcher, &DateWatcher::currentTimeZoneChanged);
        QSignalSpy date(&watcher, &DateWatcher::currentDateChanged);
        const QList<QPair<const char*, int>> zones = {
            {"Asia/Kolkata", 19800},       {"Asia/Kathmandu", 20700},
            {"Pacific/Kiritimati", 50400}, {"Pacific/Marquesas", -34200},
            {"Pacific/Pago_Pago", -39600}, {"Etc/GMT-3", 10800}};
        for (const auto& [name, offset] : zones) {
            SetZone(name);
            QCOMPARE(DateWatcher::GetCurrentOffsetFromUTC(), offset);
            watcher.OnTimerTimeout();
            QCOMPARE(watcher.GetTimeZone(), QTimeZone(offset));
            QCOMPARE(watcher.GetCurrentDate(), QDate::currentDate());
        }
        QCOMPARE(zone.size(), zones.size());
        QCOMPARE(date.size(), 0); // although the date changed from Kiritimati to the Marquesas
    }

    void sharedWatcher()
    {
        SetZone("Etc/GMT-3");
        QCOMPARE(DateWatcher::GetDateWatcher(), DateWatcher::GetDateWatcher());
        QCOMPARE(DateWatcher::CurrentTimeZone().offsetFromUtc(QDateTime::currentDateTime()), 10800);
        QCOMPARE(DateWatcher::CurrentDate(), QDate::currentDate());
        SetZone("UTC");
        QSignalSpy zone(DateWatcher::GetDateWatcher().data(), &DateWatcher::currentTimeZoneChanged);
        QVERIFY(zone.wait(4000)); // its own timer sees it
    }
};

QTEST_GUILESS_MAIN(TestDateWatcher)
#include "tst_datewatcher.moc"
