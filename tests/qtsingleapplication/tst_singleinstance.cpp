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
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

const QString id = "an id: Zoë's \"application\"/";

// As an instance describes a message.
QByteArray Described(const QString& message)
{
    return QByteArray::number(qHash(message, 0));
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
        start(INSTANCE_PATH, {applicationId, text});
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

    QString Socket() const
    {
        const QStringList entries = QDir(directory_->path()).entryList(QDir::System);
        return entries.size() == 1 ? directory_->filePath(entries[0]) : QString();
    }

private Q_SLOTS:
    void init()
    {
        directory_.reset(new QTemporaryDir); // is private
        qputenv("XDG_RUNTIME_DIR", directory_->path().toUtf8());
        qputenv("DISPLAY", ":7");
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
        QVERIFY(!first.lock(File::WriteLock, false));
        QCOMPARE(first.lockMode(), File::ReadLock);
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
        if (child == 0) {
            pause();
            _exit(0);
        }
        second.close();
        QVERIFY(!second.isLocked());
        QVERIFY(first.lock(File::WriteLock, false));
        ::kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }

    void peersInOneProcess()
    {
        QtLocalPeer server(nullptr, id);
        QtLocalPeer client(nullptr, id);
        QCOMPARE(QtLocalPeer().applicationId(), QCoreApplication::applicationFilePath());
        QVERIFY(!server.isClient());
        QVERIFY(client.isClient());
        QVERIFY(!server.isClient());
        QVERIFY(!QtLocalPeer(nullptr, "other").isClient());
        QVERIFY(!server.sendMessage("to itself", 100));
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
        QVERIFY(server.Quits());
        QCOMPARE(Socket(), QString());
        QVERIFY(!client.isClient()); // it is the server now
    }

    void crashedServerIsSucceeded()
    {
        Server server;
        server.kill();
        server.waitForFinished();
        QVERIFY(QFile::exists(Socket()));
        Server successor;
        Instance client(id, "hello");
        QCOMPARE(client.Line(), QByteArray("client"));
        QCOMPARE(successor.Line(), Described("hello"));
        QVERIFY(client.Succeeds());
    }

    void hangingServerTimesOut()
    {
        Server server;
        ::kill(server.Pid(), SIGSTOP);
        QElapsedTimer clock;
        clock.start();
        for (const int size : {5, 5000000})
            QVERIFY(!Send(QString(size, 'x'), 300));
        QVERIFY(clock.elapsed() < 5000);
        ::kill(server.Pid(), SIGCONT);
        QVERIFY(server.Quits());
    }

    void badPeersDoNoHarm()
    {
        Server server;
        const auto tryBytes = [&](const QByteArray& bytes, bool isGarbage) {
            QLocalSocket goes, stays;
            for (QLocalSocket* socket : {&goes, &stays}) {
                socket->connectToServer(Socket());
                socket->write(bytes);
                socket->waitForBytesWritten();
            }
            goes.abort();
            QVERIFY(Send("still there"));
            QCOMPARE(server.Line(), Described("still there")); // and nothing before it
            QCOMPARE(stays.waitForDisconnected(isGarbage ? 3000 : 10), isGarbage);
        };
        for (const int size : {0, 6, 10})
            tryBytes(QByteArray("QVM1\0\0\0\4xx", size), false);
        tryBytes(QByteArray("GET \0\0\0\2xx", 10), true);
        tryBytes(QByteArray("QVM1\xFF\xFF\xFF\xFE", 8), true);
        tryBytes(QByteArray("QVM1\0\0\0\1x", 9), true);
        tryBytes(QByteArray("QVM1\0\0\0\2xxmore", 14), true);
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
        {
            const QString socket = Socket();
            std::vector<QLocalSocket> crowd(40);
            for (QLocalSocket& peer : crowd) {
                peer.connectToServer(socket);
                peer.waitForConnected(100);
            }
            QFile::remove(socket); // if the server has not lost it by itself
        }
        QVERIFY(server.Quits());
    }

    void removedLockFileMakesNoSecondServer()
    {
        Server server; // it listens, and not only has its socket
        const QStringList locks = QDir(directory_->path()).entryList({"*-lock"});
        QVERIFY(QFile::remove(directory_->filePath(locks.value(0))));
        QtLocalPeer client(nullptr, id);
        QVERIFY(client.isClient() && client.isClient());
        QVERIFY(server.Quits());
    }

    // Whose message is there before it looks.
    void serverIsDeletedByItsHandler()
    {
        auto* server = new QtLocalPeer(nullptr, id);
        QVERIFY(!server->isClient());
        QLocalSocket client;
        client.connectToServer(Socket());
        client.write("QVM1\0\0\0\2x", 10);
        QVERIFY(client.waitForBytesWritten());
        QString received;
        connect(server, &QtLocalPeer::messageReceived, this, [&](const QString& message) {
            delete server;
            received = message;
        });
        QTRY_COMPARE(received, "x");
        QVERIFY(client.bytesAvailable() == 1 || client.waitForReadyRead(5000));
    }

    void sessions()
    {
        const auto isSame = [](const char* display, const char* other) {
            qputenv("DISPLAY", display);
            QtLocalPeer server(nullptr, id);
            server.isClient();
            qputenv("DISPLAY", other);
            return QtLocalPeer(nullptr, id).isClient();
        };
        QVERIFY(isSame("a.b:0", "a.b:0.2"));
        QVERIFY(!isSame("a.b:0", "a.c:0.0"));
    }

    void fiftyAtOnce()
    {
        std::vector<std::unique_ptr<Instance>> clients;
        for (int i = 0; i < 50; ++i)
            clients.push_back(std::make_unique<Instance>(id, QString::number(i)));
        QList<QByteArray> expected;
        Instance* server = nullptr;
        for (int i = 0; i < 50; ++i) {
            const QByteArray line = clients[size_t(i)]->Line();
            if (line == "client") {
                expected << Described(QString::number(i));
                continue;
            }
            QCOMPARE(line, QByteArray("server"));
            QVERIFY(!server);
            server = clients[size_t(i)].get();
        }
        QVERIFY(server);
        for (int i = 1; i < 50; ++i)
            QVERIFY2(expected.removeOne(server->Line()), "each message arrives once");
        for (const auto& client : clients)
            QVERIFY(client.get() == server || client->Succeeds());
    }

    void directories()
    {
        // Those that others may enter, and one whose path is too long for a socket.
        for (const int mode : {0x7750, 0x7705}) {
            QVERIFY(QFile::setPermissions(directory_->path(), QFile::Permissions(mode)));
            QVERIFY(!QtLocalPeer(nullptr, id).isClient());
        }
        const QString deep = directory_->filePath(QString(90, 'd'));
        QVERIFY(QDir().mkdir(deep));
        QFile::setPermissions(deep, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
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
