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
    QDateTime Now() const override { return now.toLocalTime(); }

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
    void polls_data()
    {
        AddCases<PollCase>(
            {{"midnight", "Europe/Moscow", "2026-05-01T20:59:59Z", 1, "date 2026-05-02 10800"},
             {"set back", "UTC", "2026-05-01T12:00:00Z", -86400, "date 2026-04-30 0"},
             {"half hour", "Australia/Lord_Howe", "2026-04-04T14:59:59Z", 1,
              "zone 2026-04-05 37800"},
             {"both", "Asia/Beirut", "2026-03-28T21:59:59Z", 1, "zone 2026-03-29 10800"}});
    }

    void polls()
    {
        const auto& row = CurrentCase<PollCase>();
        SetZone(row.zone);
        WatcherWithClock watcher;
        watcher.now = QDateTime::fromString(row.start, Qt::ISODate);
        watcher.OnTimerTimeout();
        QStringList seen;
        const auto note = [&](const char* what) {
            const QString date = watcher.GetCurrentDate().toString(Qt::ISODate);
            seen
                << QString("%1 %2 %3").arg(what, date).arg(watcher.GetTimeZone().offsetFromUtc({}));
        };
        connect(&watcher, &DateWatcher::currentDateChanged, this, [&] { note("date"); });
        connect(&watcher, &DateWatcher::currentTimeZoneChanged, this, [&] { note("zone"); });
        for (const int seconds : {row.seconds, 3}) {
            watcher.now = watcher.now.addSecs(seconds);
            watcher.OnTimerTimeout();
        }
        QCOMPARE(seen, QStringList(row.expected));
    }

    void sharedWatcher()
    {
        SetZone("Pacific/Marquesas");
        QCOMPARE(DateWatcher::GetCurrentOffsetFromUTC(), -34200);
        QCOMPARE(DateWatcher::CurrentTimeZone(), QTimeZone(-34200));
        QCOMPARE(DateWatcher::CurrentDate(), QDate::currentDate());
        SetZone("UTC");
        QSignalSpy zone(DateWatcher::GetDateWatcher().data(), &DateWatcher::currentTimeZoneChanged);
        QVERIFY(zone.wait(4000)); // its own timer sees it
    }
};

QTEST_GUILESS_MAIN(TestDateWatcher)
#include "tst_datewatcher.moc"
