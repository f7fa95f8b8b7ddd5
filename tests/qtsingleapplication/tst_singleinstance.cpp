#include <qtsingleapplication/qtlocalpeer.h>
#include <qtsingleapplication/qtlockedfile.h>

#include <QDir>
#include <QElapsedTimer>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

const QString id = "an id: Zoë's \"application\"/";

// As an instance of either version of Qt describes a message.
QByteArray Described(const QString& message)
{
    return QByteArray::number(quint64(std::hash<std::u16string>()(message.toStdU16String())));
}

bool Send(const QString& message, int timeout = 20000, const QString& applicationId = id)
{
    return QtLocalPeer(nullptr, applicationId).sendMessage(message, timeout);
}

class Instance : public QProcess
{
public:
    explicit Instance(const QString& applicationId = id, const QString& text = {})
    {
        start(qEnvironmentVariable("QVCOMMON_INSTANCE", INSTANCE_PATH), {applicationId, text});
    }
    ~Instance() override
    {
        kill();
        waitForFinished();
    }

    QByteArray Line()
    {
        while (!canReadLine() && waitForReadyRead(20000)) {
        }
        return readLine().trimmed();
    }

    bool Succeeds() { return waitForFinished() && exitCode() == 0; }
};

struct Server : Instance
{
    explicit Server(const QString& applicationId = id) : Instance(applicationId)
    {
        if (Line() != "server")
            qFatal("There is a server, or there can be none");
    }

    pid_t Pid() const { return static_cast<pid_t>(processId()); }
    bool Quits() { return Send("quit") && Succeeds(); }
};

} // namespace

class TestSingleInstance : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<QTemporaryDir> directory_;

    static QString Socket()
    {
        const QDir directory(qEnvironmentVariable("XDG_RUNTIME_DIR"));
        const QStringList entries = directory.entryList(QDir::System);
        return entries.size() == 1 ? directory.filePath(entries[0]) : QString();
    }

    static bool Write(QLocalSocket& peer, const QByteArray& bytes)
    {
        peer.connectToServer(Socket());
        peer.write(bytes);
        return peer.waitForBytesWritten();
    }

private Q_SLOTS:
    void init()
    {
        directory_.reset(new QTemporaryDir); // is private
        qputenv("XDG_RUNTIME_DIR", directory_->path().toUtf8());
        qputenv("DISPLAY", "a.b:7");
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }

    void locks()
    {
        using File = QtLockedFile;
        File first(directory_->filePath("file"));
        File second(first.fileName());
        QVERIFY(!first.lock(File::WriteLock));
        QVERIFY(!first.open(QIODevice::WriteOnly));
        QVERIFY(!first.open(QIODevice::ReadWrite | QIODevice::Truncate));
        QVERIFY(first.open(QIODevice::ReadWrite) && second.open(QIODevice::ReadWrite));

        QVERIFY(first.lock(File::ReadLock) && second.lock(File::ReadLock));
        QVERIFY(!first.lock(File::WriteLock, false) && first.lockMode() == File::ReadLock);
        QVERIFY(second.unlock() && !second.isLocked());
        QVERIFY(first.lock(File::WriteLock, false) && !second.lock(File::ReadLock, false));
        first.write("flushed");
        bool locked = false;
        std::thread waiter([&] { locked = second.lock(File::WriteLock); });
        QTest::qWait(20);
        first.unlock();
        waiter.join();
        QVERIFY(locked);
        QCOMPARE(second.readAll(), QByteArray("flushed"));

        const pid_t child = fork(); // has both files, and their locks
        if (child == 0)
            _exit(int(sleep(20)));
        second.close();
        QVERIFY(!second.isLocked() && first.lock(File::WriteLock, false));
        ::kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }

    void peersInOneProcess()
    {
        QtLocalPeer server(nullptr, id);
        QtLocalPeer client(nullptr, id);
        QVERIFY(!server.isClient() && client.isClient() && !server.isClient());
        QVERIFY(!server.sendMessage("to itself", 100));
        QCOMPARE(QtLocalPeer().applicationId(), QCoreApplication::applicationFilePath());
        QVERIFY(!QtLocalPeer(nullptr, "other").isClient());
        qputenv("DISPLAY", "a.b:7.2");
        QVERIFY(QtLocalPeer(nullptr, id).isClient()); // another screen
        qputenv("DISPLAY", "a.c:7");
        QVERIFY(!QtLocalPeer(nullptr, id).isClient());
    }

    void messages()
    {
        Server server;
        QtLocalPeer client(nullptr, id);
        const QString torn = QString("a") + QChar(0) + QChar(0xD800) + "b" + QChar(0xDC00);
        for (const QString& text : {QString(), QString("Zoë 📞\n"), torn, QString(20000000, 'x')}) {
            QVERIFY(client.sendMessage(text, 20000));
            QCOMPARE(server.Line(), Described(text));
        }
        ::kill(server.Pid(), SIGSTOP);
        QElapsedTimer clock;
        clock.start();
        for (const int size : {5, 5000000})
            QVERIFY(!client.sendMessage(QString(size, 'x'), 300));
        QVERIFY(clock.elapsed() < 5000);
        ::kill(server.Pid(), SIGCONT);
        QVERIFY(QFile::remove(Socket() + "-lock")); // makes no second server
        QtLocalPeer late(nullptr, id);
        QVERIFY(late.isClient() && late.isClient());
        QVERIFY(server.Quits());
        QCOMPARE(Socket(), QString());
        QVERIFY(!late.isClient()); // it is the server now
    }

    void crashedServerIsSucceeded()
    {
        Server server;
        server.kill();
        server.waitForFinished();
        QVERIFY(QFile::exists(Socket()));
        Server successor;
        Instance client(id, "hello");
        QCOMPARE(successor.Line(), Described("hello"));
        QVERIFY(client.Succeeds());
    }

    void badPeersDoNoHarm()
    {
        Server server;
        for (const int size : {0, 6, 10}) { // goes in the middle
            QLocalSocket peer;
            Write(peer, QByteArray("QVM1\0\0\0\4xx", size));
        }
        for (const QByteArray& garbage :
             {QByteArray("GET \0\0\0\2xx", 10), QByteArray("QVM1\xFF\xFF\xFF\xFE", 8),
              QByteArray("QVM1\0\0\0\1x", 9), QByteArray("QVM1\0\0\0\2xxmore", 14)}) {
            QLocalSocket peer;
            QVERIFY(Write(peer, garbage));
            QVERIFY(peer.waitForDisconnected(3000));
        }
        QVERIFY(Send("still there"));
        QCOMPARE(server.Line(), Described("still there")); // and nothing before it
    }

    // Of 102 the first is served, and the last is one too many.
    void crowdOfSilentPeersIsDropped()
    {
        QtLocalPeer server(nullptr, id);
        QSignalSpy received(&server, &QtLocalPeer::messageReceived);
        QVERIFY(!server.isClient());
        std::vector<QLocalSocket> peers(102);
        for (QLocalSocket& peer : peers) {
            peer.connectToServer(Socket());
            QTRY_COMPARE(peer.state(), QLocalSocket::ConnectedState);
            QCoreApplication::processEvents();
            if (&peer == &peers[0])
                peer.write("QVM1\0\0\0\2x", 10);
        }
        const auto isGone = [&](size_t peer) {
            return peers[peer].state() == QLocalSocket::UnconnectedState;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isGone(0) && isGone(101), 3000);
        QCOMPARE(received.size(), 1);
        QVERIFY(!isGone(1) && !isGone(100));
        QTRY_VERIFY_WITH_TIMEOUT(isGone(1) && isGone(100), 10000);
    }

    void serverListensAgain()
    {
        Server server;
        const rlimit few = {24, 24};
        QCOMPARE(prlimit(server.Pid(), RLIMIT_NOFILE, &few, nullptr), 0);
        const QString socket = Socket();
        std::vector<QLocalSocket> crowd(40);
        for (QLocalSocket& peer : crowd) {
            peer.connectToServer(socket);
            peer.waitForConnected(100);
        }
        QFile::remove(socket); // if the server has not lost it by itself
        crowd.clear();
        QVERIFY(server.Quits());
    }

    // Whose message is there before it looks.
    void serverIsDeletedByItsHandler()
    {
        auto* server = new QtLocalPeer(nullptr, id);
        QVERIFY(!server->isClient());
        QLocalSocket client;
        QVERIFY(Write(client, QByteArray("QVM1\0\0\0\2x", 10)));
        QString received;
        connect(server, &QtLocalPeer::messageReceived, this, [&](const QString& message) {
            delete server;
            received = message;
        });
        QTRY_COMPARE(received, "x");
        QVERIFY(client.bytesAvailable() == 1 || client.waitForReadyRead(5000));
    }

    void fiftyAtOnce()
    {
        std::vector<std::unique_ptr<Instance>> instances;
        for (int i = 0; i < 50; ++i)
            instances.push_back(std::make_unique<Instance>(id, QString::number(i)));
        QList<QByteArray> expected;
        Instance* server = nullptr;
        for (const auto& instance : instances) {
            if (instance->Line() == "server")
                server = instance.get();
            else
                expected << Described(instance->arguments()[1]);
        }
        QCOMPARE(expected.size(), 49);
        while (!expected.isEmpty())
            QVERIFY2(expected.removeOne(server->Line()), "each message arrives once");
        for (const auto& instance : instances)
            QVERIFY(instance.get() == server || instance->Succeeds());
    }

    void directories()
    {
        // Those that others may enter, and one whose path is too long for a socket.
        for (const int mode : {0x7750, 0x7705}) {
            QFile::setPermissions(directory_->path(), QFile::Permissions(mode));
            QVERIFY(!QtLocalPeer(nullptr, id).isClient());
        }
        const QString deep = directory_->filePath(QString(90, 'd'));
        QVERIFY(QDir().mkdir(deep));
        QFile::setPermissions(deep, QFile::Permissions(0x7700));
        qputenv("XDG_RUNTIME_DIR", deep.toUtf8());
        QtLocalPeer server(nullptr, id);
        QVERIFY(!server.isClient());
        QVERIFY(QtLocalPeer(nullptr, id).isClient());
        QVERIFY(QDir(deep).isEmpty());
        QVERIFY(QDir(directory_->path()).entryList(QDir::System | QDir::Files).isEmpty());
    }

    void window()
    {
        for (const QString name : {"window", "window activated"}) {
            Server server(name);
            QVERIFY(Send("show", 20000, name));
            QCOMPARE(server.Line(), QByteArray(name == "window" ? "minimized" : "raised"));
            QCOMPARE(server.Line(), Described("show"));
        }
    }
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
