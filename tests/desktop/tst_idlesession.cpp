#include "compositor.h"
#include "support/recordinglogger.h"
#include "support/xserver.h"

#include <common/tools/idlewatcher.h>

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QLocalServer>
#include <QLocalSocket>
#include <QtTest>

using common::IdleWatcher;

constexpr int longestSilence = 20000; // milliseconds

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

// Whoever is asked runs on this thread: a poll that waits for an answer never gets one.
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
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(directory_.path()));
        bus_.start("dbus-run-session", {"--", "sh", "-c", "echo $DBUS_SESSION_BUS_ADDRESS; cat"});
        while (!bus_.canReadLine())
            QVERIFY(bus_.waitForReadyRead());
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus_.readLine().trimmed());
    }

    void noneOfThem()
    {
        IdleWatcher watcher(nullptr);
        QTRY_COMPARE((watcher.seconds(), watcher.backendName()), "X11");
        QCOMPARE(watcher.seconds(), -1);
        QVERIFY(!watcher.isKnown());
        const common::XcbIdleBackend backend;
        QCOMPARE(backend.getSeconds() + backend.getSeconds(), 0);
        QCOMPARE(log_.Lines("The X server does not tell").size(), 1);
    }

    void eitherOfThem()
    {
        QScopedPointer<Compositor> compositor(new Compositor);
        IdleWatcher wayland(nullptr);
        QTRY_COMPARE(wayland.seconds(), 0);
        QCOMPARE(wayland.backendName(), "ext-idle-notify-v1");
        compositor->Tell(true);
        QTRY_VERIFY(wayland.seconds() >= 2);
        compositor->Tell(false);
        QTRY_COMPARE(wayland.seconds(), 0);

        qputenv("WAYLAND_DISPLAY", "none");
        auto service = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "mutter");
        const QString name = "org.gnome.Mutter.IdleMonitor";
        IdleMonitor monitor;
        QVERIFY(service.registerObject("/org/gnome/Mutter/IdleMonitor/Core", &monitor,
                                       QDBusConnection::ExportScriptableSlots));
        QVERIFY(service.registerService(name));
        monitor.milliseconds = 65000;
        IdleWatcher mutter(nullptr);
        QTRY_COMPARE(mutter.seconds(), 65);
        QCOMPARE(mutter.backendName(), "Mutter");

        compositor->SetHanging(true);
        monitor.isHanging = true;
        monitor.milliseconds = 0;
        QTRY_COMPARE_WITH_TIMEOUT(qMax(mutter.seconds(), wayland.seconds()), -1, longestSilence);
        QCOMPARE(log_.Lines("asking again").size(), 1);
        compositor->SetHanging(false);
        monitor.isHanging = false;
        service.send(monitor.question.createReply(monitor.milliseconds));
        QTRY_COMPARE_WITH_TIMEOUT(mutter.seconds() | wayland.seconds(), 0, longestSilence);

        compositor->Tell(true);
        compositor.reset();
        service.unregisterService(name);
        QTRY_COMPARE(qMax(mutter.seconds(), wayland.seconds()), -1);
        compositor.reset(new Compositor);
        service.registerService(name);
        QTRY_COMPARE(mutter.seconds() | wayland.seconds(), 0);
        qunsetenv("WAYLAND_DISPLAY");
        bus_.closeWriteChannel(); // which ends the bus
        QVERIFY(bus_.waitForFinished());
        QTRY_COMPARE(mutter.seconds(), -1);
        QCOMPARE(mutter.backendName(), "Mutter");
    }

    void busHangs()
    {
        QLocalServer bus; // which says nothing
        QVERIFY(bus.listen(directory_.filePath("bus")));
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(bus.fullServerName()));
        IdleWatcher watcher(nullptr);
        QTRY_VERIFY(watcher.seconds() == -1 && bus.hasPendingConnections());
        bus.nextPendingConnection()->abort();
        QTRY_COMPARE((watcher.seconds(), watcher.backendName()), "X11");
    }

private:
    RecordingLogger log_;
    QTemporaryDir directory_;
    QProcess bus_;
};

QTEST_MAIN(TestIdleSession)
#include "tst_idlesession.moc"
