#include <common/tools/idlewatcher.h>

#include "support/xserver.h"

#include <QApplication>
#include <QtTest>

using common::IdleWatcher;

class TestIdleWatcher : public QObject
{
    Q_OBJECT

public:
    static void initMain() { RunOnXServer(); }

private Q_SLOTS:
    void minutes()
    {
        struct ScriptedBackend : common::IIdleBackend
        {
            int getSeconds() const override { return seconds; }

            int seconds = 0;
        };
        // what the polls tell; signals, and the interval after the last poll
        const QPair<QList<int>, QString> rows[] = {
            {{59, 60, 61, 119, 120}, "idle 60 idle 120 1000"},
            {{50, 200}, "idle 200 1000"},
            {{60, 0, 61}, "idle 60 active idle 61 1000"},
            {{75, -1, 76, -1, 2, 5}, "idle 75 active 3000"}, // unknown changes nothing
            {{40, 2, 59, 0}, "3000"},
            {{130, 70, 120}, "idle 130 active idle 120 1000"}};
        for (const auto& [polls, expected] : rows) {
            auto* backend = new ScriptedBackend;
            IdleWatcher watcher(backend, nullptr);
            const auto* timer = watcher.findChild<QTimer*>();
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
    }

    void realInput()
    {
        const auto watcher = IdleWatcher::instance();
        QTRY_VERIFY(watcher->seconds() >= 1);
        QTRY_VERIFY(QProcess::execute("xdotool", {"key", "a"}) == 0 && watcher->seconds() == 0);
    }
};

QTEST_MAIN(TestIdleWatcher)
#include "tst_idlewatcher.moc"
