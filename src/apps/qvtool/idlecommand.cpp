#include "command.h"
#include "console.h"

#include <common/tools/idlewatcher.h>

#include <QTimer>

#include <utility>

namespace qvtool {

using common::IdleWatcher;

namespace {

constexpr int pollInterval = 1000; // milliseconds

// Tells who says how long the user is idle, and what.
void Poll(const Call& call, IdleWatcher& watcher)
{
    const int seconds = watcher.seconds();
    const QString backend = watcher.backendName();
    if (seconds < 0 && backend == "X11")
        Fail(QString("nothing tells how long the user is idle: no compositor, and no X server with "
                     "the screen-saver extension (DISPLAY is '%1')")
                 .arg(QString::fromLocal8Bit(qgetenv("DISPLAY"))));
    call.Report(backend + (seconds < 0 ? QString(": unknown") : QString(": %1 s").arg(seconds)),
                {{"backend", backend}, {"seconds", seconds}});
}

int WatchIdle(Call& call)
{
    qint64 left = call.Has("count") ? call.Number("count", 1) : -1;
    QEventLoop loop;
    QList<QJsonObject> events; // told outside of the loop
    const auto watcher = IdleWatcher::instance();
    QObject::connect(watcher.data(), &IdleWatcher::idle, &loop, [&](int seconds) {
        events << QJsonObject{{"event", "idle"}, {"seconds", seconds}};
    });
    QObject::connect(watcher.data(), &IdleWatcher::active, &loop, [&] {
        events << QJsonObject{{"event", "active"}};
    });
    while (true) {
        Poll(call, *watcher);
        if (--left == 0)
            return Success;
        Await(loop, [&] { QTimer::singleShot(pollInterval, &loop, &QEventLoop::quit); });
        EndIfInterrupted("no longer watching");
        for (const QJsonObject& event : std::as_const(events))
            call.Report(event.contains("seconds")
                            ? QString("event: idle for %1 s").arg(event["seconds"].toInt())
                            : QString("event: active again"),
                        event);
        events.clear();
    }
}

} // namespace

const Command idleCommand = {
    "idle",
    "Print every second how long the user has been idle.",
    {},
    {{"count", "Stop after COUNT readings; changes do not count.", "COUNT"}, jsonOption},
    &WatchIdle,
};

} // namespace qvtool
