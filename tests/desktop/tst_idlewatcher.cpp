#include <common/tools/idlewatcher.h>

#include "support/xserver.h"

#include <QProcess>
#include <QTimer>
#include <QtTest>

using common::IdleWatcher;
using common::IIdleBackend;

namespace {

struct ScriptedBackend : IIdleBackend
{
    int getSeconds() const override { return seconds; }

    int seconds = 0;
};

} // namespace

class TestIdleWatcher : public QObject
{
    Q_OBJECT

public:
    static void initMain() { qputenv("QT_QPA_PLATFORM", "offscreen"); }

private:
    static void Start(QProcess& client, const QString& display, const QStringList& arguments)
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DISPLAY", display);
        environment.insert("QT_QPA_PLATFORM", display.isEmpty() ? "offscreen" : "xcb");
        client.setProcessEnvironment(environment);
        client.start(DESKTOPCLIENT_PATH, arguments);
    }

private Q_SLOTS:
    void minutes_data()
    {
        QTest::addColumn<QList<int>>("polls");
        QTest::addColumn<QStringList>("expected"); // signals and the interval after the last poll
        using List = QList<int>;
        const auto row = [](const char* name, const List& polls, const QStringList& expected) {
            QTest::newRow(name) << polls << expected;
        };
        row("each whole minute", {59, 60, 61, 119, 120}, {"idle 60", "idle 120", "1000"});
        row("a minute is skipped", {50, 200}, {"idle 200", "1000"});
        row("back after a minute", {75, 2, 5}, {"idle 75", "active", "3000"});
        row("back at once after sixty seconds", {60, 0, 61},
            {"idle 60", "active", "idle 61", "1000"});
        row("unknown changes nothing", {75, -1, 76, -1, 2}, {"idle 75", "active", "3000"});
        row("back within the minute", {40, 2, 59, 0}, {"3000"});
        row("less idle, yet over a minute", {130, 70, 120},
            {"idle 130", "active", "idle 120", "1000"});
    }

    void minutes()
    {
        QFETCH(QList<int>, polls);
        QFETCH(QStringList, expected);
        auto* backend = new ScriptedBackend;
        IdleWatcher watcher(backend, nullptr);
        auto* timer = watcher.findChild<QTimer*>();
        QVERIFY(timer && timer->isActive());
        QCOMPARE(timer->interval(), 3000);

        QStringList seen;
        connect(&watcher, &IdleWatcher::idle, this,
                [&](int since) { seen << QString("idle %1").arg(since); });
        connect(&watcher, &IdleWatcher::active, this, [&] { seen << "active"; });
        for (int poll : polls) {
            backend->seconds = poll;
            watcher.checkIdleState();
        }
        QCOMPARE(seen << QString::number(timer->interval()), expected);
    }

    void instancesAreIndependent()
    {
        const auto first = IdleWatcher::instance();
        auto second = IdleWatcher::instance();
        QVERIFY(first != second);
        const QPointer<IdleWatcher> watched(second.data());
        second.clear();
        QVERIFY(watched.isNull());
        QVERIFY(first->findChild<QTimer*>()->isActive());
    }

    void realInput()
    {
        const XServer server;
        QVERIFY(!server.Display().isEmpty());
        QProcess client;
        Start(client, server.Display(), {"idle", "60"});
        const auto seconds = [&] {
            while (client.canReadLine() || client.waitForReadyRead(5000)) {
                if (client.canReadLine())
                    return client.readLine().trimmed().toInt();
            }
            return -1;
        };
        int idle = 0;
        while (idle >= 0 && idle < 2)
            idle = seconds();
        QCOMPARE(idle, 2);
        qputenv("DISPLAY", server.Display().toLatin1());
        QCOMPARE(QProcess::execute("xdotool", {"key", "a"}), 0);
        while (idle >= 2)
            idle = seconds();
        QCOMPARE(idle, 0);
        client.kill();
        client.waitForFinished();
    }

    void withoutAnswerZeroAndOneLine_data()
    {
        QTest::addColumn<bool>("server");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QStringList>("arguments");
        const QStringList twice = {"idle", "2"};
        QTest::newRow("no X server") << false << QStringList() << twice;
        QTest::newRow("no extension")
            << true << QStringList{"-extension", "MIT-SCREEN-SAVER"} << twice;
        QTest::newRow("broken connection") << true << QStringList() << QStringList{"break"};
    }

    void withoutAnswerZeroAndOneLine()
    {
        QFETCH(bool, server);
        QFETCH(QStringList, options);
        QFETCH(QStringList, arguments);
        QScopedPointer<XServer> x(server ? new XServer(options) : nullptr);
        QProcess client;
        Start(client, server ? x->Display() : QString(), arguments);
        QVERIFY(client.waitForFinished());
        QCOMPARE(client.exitStatus(), QProcess::NormalExit);
        QCOMPARE(client.readAllStandardOutput(), QByteArray("0\n0\n"));
        QCOMPARE(client.readAllStandardError().count("The X server does not tell"), 1);
    }
};

QTEST_MAIN(TestIdleWatcher)
#include "tst_idlewatcher.moc"
