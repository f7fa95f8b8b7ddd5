#include "commands.h"
#include "console.h"

#include <common/tools/idlewatcher.h>

#include <QTimer>

namespace qvtool {

using common::IdleWatcher;

namespace {

constexpr int pollInterval = 1000; // milliseconds

int WatchIdle(Call& call)
{
    qint64 left = call.Has("count") ? call.Number("count", 1) : -1;
    if (call.IsRejected())
        return call.Rejection();

    QEventLoop loop;
    int code = Success;
    const auto end = [&](int result) {
        code = result;
        loop.quit();
    };
    const auto tell = [&](const QString& text, const QJsonObject& data) {
        if (const int result = call.Report(text, data))
            end(result);
    };
    const auto watcher = IdleWatcher::instance();
    QObject::connect(watcher.data(), &IdleWatcher::idle, &loop, [&](int seconds) {
        tell(QString("event: idle for %1 s").arg(seconds),
             {{"event", "idle"}, {"seconds", seconds}});
    });
    QObject::connect(watcher.data(), &IdleWatcher::active, &loop, [&] {
        tell("event: active again", {{"event", "active"}});
    });
    const auto poll = [&] {
        const int seconds = watcher->seconds();
        const QString backend = watcher->backendName();
        if (seconds < 0 && backend == "X11")
            return end(call.Fail(
                QString("nothing tells how long the user is idle: no compositor, and no X server "
                        "with the screen-saver extension (DISPLAY is '%1')")
                    .arg(QString::fromLocal8Bit(qgetenv("DISPLAY")))));
        tell(backend + (seconds < 0 ? QString(": unknown") : QString(": %1 s").arg(seconds)),
             {{"backend", backend}, {"seconds", seconds}});
        if (left > 0 && --left == 0)
            loop.quit();
    };
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop, poll);
    timer.start(pollInterval);
    return Await(loop, poll) ? code : call.Interrupted("no longer watching");
}

} // namespace

const Command idleCommand = {
    "idle",
    "Print every second how long the user has been idle, and each change.",
    {},
    {{"count", "COUNT", "Stop after COUNT readings; changes do not count."}, jsonOption},
    &WatchIdle,
};

} // namespace qvtool
