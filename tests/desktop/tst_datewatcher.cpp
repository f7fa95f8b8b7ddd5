#include <common/tools/datewatcher.h>

#include <QtTest>

using tools::DateWatcher;

class TestDateWatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void polls()
    {
        struct WatcherWithClock : DateWatcher
        {
            WatcherWithClock() : DateWatcher(nullptr) {}
            QDateTime Now() const override { return now.toLocalTime(); }

            QDateTime now;
        };
        const std::tuple<const char*, QString, int, QString> rows[] = {
            // zone, UTC at the first poll, seconds to the next one
            {"Europe/Moscow", "2026-05-01T20:59:59Z", 1, "date 2026-05-02 10800 "},
            {"UTC", "2026-05-01T12:00:00Z", -86400, "date 2026-04-30 0 "}, // set back
            {"Australia/Lord_Howe", "2026-04-04T14:59:59Z", 1, "zone 2026-04-05 37800 "},
            {"Asia/Beirut", "2026-03-28T21:59:59Z", 1, "zone 2026-03-29 10800 "}}; // both
        for (const auto& [zone, start, step, expected] : rows) {
            qputenv("TZ", zone);
            WatcherWithClock watcher;
            watcher.now = QDateTime::fromString(start, Qt::ISODate);
            watcher.OnTimerTimeout();
            QString seen;
            const auto note = [&](const QString& what) {
                seen += what + watcher.GetCurrentDate().toString(" yyyy-MM-dd ") +
                        QString("%1 ").arg(watcher.GetTimeZone().offsetFromUtc({}));
            };
            connect(&watcher, &DateWatcher::currentDateChanged, this, [&] { note("date"); });
            connect(&watcher, &DateWatcher::currentTimeZoneChanged, this, [&] { note("zone"); });
            for (const int seconds : {step, 3}) {
                watcher.now = watcher.now.addSecs(seconds);
                watcher.OnTimerTimeout();
            }
            QCOMPARE(seen, expected);
        }
    }

    void sharedWatcher()
    {
        qputenv("TZ", "Pacific/Marquesas");
        QCOMPARE(DateWatcher::GetCurrentOffsetFromUTC(), -34200);
        QCOMPARE(DateWatcher::CurrentTimeZone(), QTimeZone(-34200));
        qputenv("TZ", "UTC");
        // Its own timer sees it.
        QTRY_COMPARE_WITH_TIMEOUT(DateWatcher::CurrentTimeZone(), QTimeZone(0), 20000);
        QCOMPARE(DateWatcher::CurrentDate(), QDate::currentDate());
    }
};

QTEST_GUILESS_MAIN(TestDateWatcher)
#include "tst_datewatcher.moc"
