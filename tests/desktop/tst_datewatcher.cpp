#include <common/tools/datewatcher.h>

#include "support/cases.h"

#include <ctime>

using tools::DateWatcher;

namespace {

struct PollCase
{
    const char* name;
    const char* zone;
    QString start; // UTC
    int seconds;   // to the next poll
    QString expected;
};

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
        AddCases<PollCase>(
            {{"midnight", "Europe/Moscow", "2026-05-01T20:59:59", 1, "date 2026-05-02 10800"},
             {"set back", "UTC", "2026-05-01T12:00:00", -86400, "date 2026-04-30 0"},
             {"half hour", "Australia/Lord_Howe", "2026-04-04T14:59:59", 1,
              "zone 2026-04-05 37800"},
             {"both", "Asia/Beirut", "2026-03-28T21:59:59", 1, "zone 2026-03-29 10800"}});
    }

    void polls()
    {
        const auto& row = CurrentCase<PollCase>();
        SetZone(row.zone);
        WatcherWithClock watcher;
        QStringList seen;
        const auto note = [&](const char* what) {
            seen << QString("%1 %2 %3")
                        .arg(what, watcher.GetCurrentDate().toString(Qt::ISODate))
                        .arg(watcher.GetTimeZone().offsetFromUtc(watcher.now));
        };
        connect(&watcher, &DateWatcher::currentDateChanged, this, [&] { note("date"); });
        connect(&watcher, &DateWatcher::currentTimeZoneChanged, this, [&] { note("zone"); });
        auto now = QDateTime::fromString(row.start + 'Z', Qt::ISODate);
        for (const int seconds : {0, row.seconds, 3}) {
            now = now.addSecs(seconds);
            watcher.now = now.toLocalTime();
            watcher.OnTimerTimeout();
            if (seconds == 0) // from here on
                seen.clear();
        }
        QCOMPARE(seen, QStringList(row.expected));
    }

    void sharedWatcher()
    {
        SetZone("Pacific/Marquesas");
        QCOMPARE(DateWatcher::GetCurrentOffsetFromUTC(), -34200);
        QCOMPARE(DateWatcher::GetDateWatcher(), DateWatcher::GetDateWatcher());
        QCOMPARE(DateWatcher::CurrentTimeZone(), QTimeZone(-34200));
        QCOMPARE(DateWatcher::CurrentDate(), QDate::currentDate());
        SetZone("UTC");
        QSignalSpy zone(DateWatcher::GetDateWatcher().data(), &DateWatcher::currentTimeZoneChanged);
        QVERIFY(zone.wait(4000)); // its own timer sees it
    }
};

QTEST_GUILESS_MAIN(TestDateWatcher)
#include "tst_datewatcher.moc"
