#include <common/tools/idlewatcher.h>

#include "support/cases.h"
#include "support/xserver.h"

#include <QApplication>

using common::IdleWatcher;

namespace {

struct PollsCase
{
    const char* name;
    QList<int> polls;
    QString expected; // signals, and the interval after the last poll
};

struct ScriptedBackend : common::IIdleBackend
{
    int getSeconds() const override { return seconds; }

    int seconds = 0;
};

} // namespace

class TestIdleWatcher : public QObject
{
    Q_OBJECT

public:
    static void initMain() { RunOnXServer(); }

private Q_SLOTS:
    void minutes_data()
    {
        AddCases<PollsCase>(
            {{"each whole minute", {59, 60, 61, 119, 120}, "idle 60 idle 120 1000"},
             {"a minute is skipped", {50, 200}, "idle 200 1000"},
             {"back at once after sixty seconds", {60, 0, 61}, "idle 60 active idle 61 1000"},
             {"unknown changes nothing", {75, -1, 76, -1, 2, 5}, "idle 75 active 3000"},
             {"back within the minute", {40, 2, 59, 0}, "3000"},
             {"less idle, yet over a minute", {130, 70, 120}, "idle 130 active idle 120 1000"}});
    }

    void minutes()
    {
        const auto& [name, polls, expected] = CurrentCase<PollsCase>();
        auto* backend = new ScriptedBackend;
        IdleWatcher watcher(backend, nullptr);
        auto* timer = watcher.findChild<QTimer*>();
        QVERIFY(timer && timer->isActive());
        QString seen;
        connect(&watcher, &IdleWatcher::idle, this,
                [&](int since) { seen += QString("idle %1 ").arg(since); });
        connect(&watcher, &IdleWatcher::active, this, [&] { seen += "active "; });
        for (const int poll : polls) {
            backend->seconds = poll;
            watcher.checkIdleState();
        }
        QCOMPARE(seen + QString::number(timer->interval()), expected);
    }

    void realInput()
    {
        const auto watcher = IdleWatcher::instance();
        QVERIFY(watcher != IdleWatcher::instance());
        QCOMPARE(watcher->backendName(), "X11");
        QTRY_COMPARE(watcher->seconds(), 1);
        QCOMPARE(QProcess::execute("xdotool", {"key", "a"}), 0);
        QTRY_COMPARE(watcher->seconds(), 0);
    }
};

QTEST_MAIN(TestIdleWatcher)
#include "tst_idlewatcher.moc"
