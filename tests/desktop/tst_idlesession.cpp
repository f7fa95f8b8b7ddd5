#include "compositor.h"
#include "support/recordinglogger.h"

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

public Q_SLOTS:
    Q_SCRIPTABLE qulonglong GetIdletime()
    {
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
        qputenv("QT_QPA_PLATFORM", "offscreen");
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

    void init() { qunsetenv("WAYLAND_DISPLAY"); }

    void noneOfThem()
    {
        IdleWatcher watcher(nullptr);
        QTRY_COMPARE(Poll(watcher), -1);
        QTRY_COMPARE((Poll(watcher), watcher.backendName()), "X11");
        QVERIFY(!watcher.isKnown());
    }

    void protocol()
    {
        QScopedPointer<Compositor> compositor(new Compositor);
        IdleWatcher watcher(nullptr);
        QTRY_COMPARE(Poll(watcher), 0);
        QCOMPARE(watcher.backendName(), "ext-idle-notify-v1");
        compositor->Tell(true);
        QTRY_COMPARE(Poll(watcher), 1);
        QTRY_COMPARE(Poll(watcher), 2);
        compositor->Tell(false);
        QTRY_COMPARE(Poll(watcher), 0);

        compositor->SetHanging(true);
        QTRY_COMPARE_WITH_TIMEOUT(Poll(watcher), -1, longestSilence);
        compositor->SetHanging(false);
        QTRY_COMPARE(Poll(watcher), 0);
        compositor.reset();
        QTRY_COMPARE(Poll(watcher), -1);
        compositor.reset(new Compositor);
        QTRY_COMPARE(Poll(watcher), 0);
    }

    void mutter()
    {
        auto service = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "mutter");
        const QString name = "org.gnome.Mutter.IdleMonitor";
        IdleMonitor monitor;
        QVERIFY(service.registerObject("/org/gnome/Mutter/IdleMonitor/Core", &monitor,
                                       QDBusConnection::ExportScriptableSlots));
        QVERIFY(service.registerService(name));
        monitor.milliseconds = 65000;

        IdleWatcher watcher(nullptr);
        QSignalSpy idle(&watcher, &IdleWatcher::idle);
        QSignalSpy active(&watcher, &IdleWatcher::active);
        QTRY_COMPARE(Poll(watcher), 65);
        QCOMPARE(watcher.backendName(), "Mutter");
        watcher.checkIdleState();
        QCOMPARE(idle.size(), 1);

        monitor.isHanging = true;
        monitor.milliseconds = 0;
        QTRY_COMPARE_WITH_TIMEOUT(Poll(watcher), -1, longestSilence);
        watcher.checkIdleState();
        QCOMPARE(active.size(), 0);
        monitor.isHanging = false;
        QTRY_COMPARE_WITH_TIMEOUT(Poll(watcher), 0, longestSilence);
        watcher.checkIdleState();
        QCOMPARE(active.size(), 1);

        service.unregisterService(name);
        QTRY_COMPARE(Poll(watcher), -1);
        service.registerService(name);
        QTRY_COMPARE(Poll(watcher), 0);
        bus_.closeWriteChannel(); // which ends the bus
        QVERIFY(bus_.waitForFinished());
        QTRY_COMPARE(Poll(watcher), -1);
        QCOMPARE(watcher.backendName(), "Mutter");
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

    void silenceIsLoggedOnce() { QCOMPARE(log_.Lines("does not tell").size(), 1); }

private:
    RecordingLogger log_;
    QTemporaryDir directory_;
    QProcess bus_;
};

QTEST_MAIN(TestIdleSession)
#include "tst_idlesession.moc"
