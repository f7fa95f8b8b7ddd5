#include "compositor.h"
#include "support/recordinglogger.h"
#include "support/xserver.h"

#include <common/tools/idlewatcher.h>

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <climits>

using common::IdleWatcher;
using common::XcbIdleBackend;

namespace {

constexpr int longestPoll = 500; // milliseconds; one that waits for an answer takes seconds
constexpr int longestSilence = 10000;

/** Stands in Mutter's place. */
class IdleMonitor : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Mutter.IdleMonitor")

public:
    qulonglong milliseconds = 0;
    bool isHanging = false;
    QDBusMessage question; // the latest

public Q_SLOTS:
    Q_SCRIPTABLE qulonglong GetIdletime()
    {
        question = message();
        setDelayedReply(isHanging);
        return milliseconds;
    }
};

// What a poll tells; it must not wait.
int Poll(IdleWatcher& watcher)
{
    QElapsedTimer clock;
    clock.start();
    const int seconds = watcher.seconds();
    return clock.elapsed() < longestPoll ? seconds : INT_MAX;
}

} // namespace

class TestIdleSession : public QObject
{
    Q_OBJECT

public:
    static void initMain()
    {
        RunOnXServer({"-extension", "MIT-SCREEN-SAVER"}); // which tells nothing
        qputenv("XDG_SESSION_TYPE", "wayland");
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(directory_.isValid());
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(directory_.path()));
        bus_.start("dbus-run-session", {"--", "sh", "-c", "echo $DBUS_SESSION_BUS_ADDRESS; cat"});
        while (!bus_.canReadLine())
            QVERIFY(bus_.waitForReadyRead());
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus_.readLine().trimmed());
    }

    void noneOfThem()
    {
        IdleWatcher watcher(nullptr);
        QTRY_COMPARE((Poll(watcher), watcher.backendName()), "X11");
        QCOMPARE(Poll(watcher), -1);
        QVERIFY(!watcher.isKnown());
        const XcbIdleBackend backend;
        QCOMPARE(backend.getSeconds() + backend.getSeconds(), 0);
        QCOMPARE(log_.Lines("The X server does not tell").size(), 1);
    }

    void eitherOfThem()
    {
        QScopedPointer<Compositor> compositor(new Compositor);
        IdleWatcher wayland(nullptr);
        QTRY_COMPARE(Poll(wayland), 0);
        QCOMPARE(wayland.backendName(), "ext-idle-notify-v1");
        compositor->Tell(true);
        QTRY_COMPARE(Poll(wayland), 1);
        QTRY_COMPARE(Poll(wayland), 2);
        compositor->Tell(false);
        QTRY_COMPARE(Poll(wayland), 0);

        qputenv("WAYLAND_DISPLAY", "none");
        auto service = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "mutter");
        const QString name = "org.gnome.Mutter.IdleMonitor";
        IdleMonitor monitor;
        QVERIFY(service.registerObject("/org/gnome/Mutter/IdleMonitor/Core", &monitor,
                                       QDBusConnection::ExportScriptableSlots));
        QVERIFY(service.registerService(name));
        monitor.milliseconds = 65000;
        IdleWatcher mutter(nullptr);
        QSignalSpy idle(&mutter, &IdleWatcher::idle);
        QSignalSpy active(&mutter, &IdleWatcher::active);
        QTRY_COMPARE(Poll(mutter), 65);
        QCOMPARE(mutter.backendName(), "Mutter");
        mutter.checkIdleState();
        QCOMPARE(idle.size(), 1);

        compositor->SetHanging(true);
        monitor.isHanging = true;
        monitor.milliseconds = 0;
        QTRY_COMPARE_WITH_TIMEOUT(qMax(Poll(mutter), Poll(wayland)), -1, longestSilence);
        mutter.checkIdleState();
        QCOMPARE(active.size(), 0);
        QCOMPARE(log_.Lines("asking again").size(), 1);
        compositor->SetHanging(false);
        monitor.isHanging = false;
        service.send(monitor.question.createReply(monitor.milliseconds));
        QTRY_COMPARE_WITH_TIMEOUT(Poll(mutter) | Poll(wayland), 0, longestSilence);
        mutter.checkIdleState();
        QCOMPARE(active.size(), 1);

        compositor->Tell(true);
        compositor.reset();
        service.unregisterService(name);
        QTRY_COMPARE(qMax(Poll(mutter), Poll(wayland)), -1);
        compositor.reset(new Compositor);
        service.registerService(name);
        QTRY_COMPARE(Poll(mutter) | Poll(wayland), 0);
        qunsetenv("WAYLAND_DISPLAY");
        bus_.closeWriteChannel(); // which ends the bus
        QVERIFY(bus_.waitForFinished());
        QTRY_COMPARE(Poll(mutter), -1);
        QCOMPARE(mutter.backendName(), "Mutter");
    }

    void busHangs()
    {
        QLocalServer bus; // which says nothing
        QVERIFY(bus.listen(directory_.filePath("bus")));
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(bus.fullServerName()));
        IdleWatcher watcher(nullptr);
        QTRY_VERIFY(Poll(watcher) == -1 && bus.hasPendingConnections());
        QCOMPARE(watcher.backendName(), "Mutter");
        bus.nextPendingConnection()->abort();
        QTRY_COMPARE((Poll(watcher), watcher.backendName()), "X11");
    }

private:
    RecordingLogger log_;
    QTemporaryDir directory_;
    QProcess bus_;
};

QTEST_MAIN(TestIdleSession)
#include "tst_idlesession.moc"
