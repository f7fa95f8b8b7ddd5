#include <qtsingleapplication/qtlocalpeer.h>
#include <qtsingleapplication/qtlockedfile.h>

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <memory>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

const QString id = "an id: Zoë's \"application\"/";

QByteArray Digest(const QString& text)
{
    const QByteArray bytes(reinterpret_cast<const char*>(text.constData()),
                           text.size() * int(sizeof(QChar)));
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex();
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

    QByteArray Line(int timeout = 20000)
    {
        while (!canReadLine() && waitForReadyRead(timeout)) {
        }
        return readLine().trimmed();
    }

    void Signal(int number) { ::kill(static_cast<pid_t>(processId()), number); }
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
        const QString path = directory_->filePath("file");
        File first(path);
        File second(path);
        QVERIFY(!first.lock(File::WriteLock));
        for (const auto mode : {QIODevice::OpenMode(QIODevice::WriteOnly),
                                QIODevice::ReadWrite | QIODevice::Truncate})
            QVERIFY(!first.open(mode));
        QVERIFY(first.open(QIODevice::ReadWrite) && second.open(QIODevice::ReadWrite));

        QVERIFY(first.lock(File::ReadLock) && second.lock(File::ReadLock));
        QVERIFY(!first.lock(File::WriteLock, false));
        QCOMPARE(first.lockMode(), File::ReadLock);
        QVERIFY(second.unlock() && !second.isLocked());
        QVERIFY(first.lock(File::WriteLock, false));
        QVERIFY(!second.lock(File::ReadLock, false));
        first.write("flushed");
        QVERIFY(first.unlock() && second.lock(File::WriteLock, false));
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
        QtLocalPeer other(nullptr, "other");
        QCOMPARE(server.applicationId(), id);
        QCOMPARE(QtLocalPeer().applicationId(), QCoreApplication::applicationFilePath());
        QVERIFY(!server.isClient());
        QVERIFY(client.isClient());
        QVERIFY(!server.isClient());
        QVERIFY(!other.isClient());
        QVERIFY(!server.sendMessage("to itself", 100));
    }

    void messages_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << "";
        QTest::newRow("plain") << "sip:jane@example.test";
        QTest::newRow("unicode") << QString::fromUtf8("Zoë \xF0\x9F\x93\x9E\n");
        QTest::newRow("null and lone surrogates")
            << QString("a") + QChar(0) + QChar(0xD800) + "b" + QChar(0xDC00);
        QTest::newRow("large") << QString(20000000, 'x');
    }

    void messages()
    {
        QFETCH(QString, text);
        Instance server;
        QCOMPARE(server.Line(), QByteArray("server"));
        QtLocalPeer client(nullptr, id);
        for (int again = 0; again < 2; ++again) {
            QVERIFY(client.sendMessage(text, 20000));
            QCOMPARE(server.Line(), Digest(text));
        }
        QVERIFY(client.sendMessage("quit", 5000));
        QVERIFY(server.waitForFinished());
        QCOMPARE(Socket(), QString());
        QVERIFY(!client.isClient()); // it is the server now
    }

    void tooLargeMessageIsRefused()
    {
        Instance server;
        QCOMPARE(server.Line(), QByteArray("server"));
        QVERIFY(!QtLocalPeer(nullptr, id).sendMessage(QString(128 * 1024 * 1024 + 1, 'x'), 20000));
    }

    void crashedServerIsSucceeded()
    {
        Instance server;
        QCOMPARE(server.Line(), QByteArray("server"));
        server.kill();
        server.waitForFinished();
        QVERIFY(QFile::exists(Socket()));
        Instance successor;
        QCOMPARE(successor.Line(), QByteArray("server"));
        Instance client(id, "hello");
        QCOMPARE(client.Line(), QByteArray("client"));
        QCOMPARE(successor.Line(), Digest("hello"));
        QVERIFY(client.waitForFinished());
        QCOMPARE(client.exitCode(), 0);
    }

    void hangingServerTimesOut()
    {
        Instance server;
        QCOMPARE(server.Line(), QByteArray("server"));
        server.Signal(SIGSTOP);
        QElapsedTimer clock;
        clock.start();
        for (const QString& text : {QString("short"), QString(5000000, 'l')})
            QVERIFY(!QtLocalPeer(nullptr, id).sendMessage(text, 300));
        QVERIFY(clock.elapsed() < 5000);
        server.Signal(SIGCONT);
        QVERIFY(QtLocalPeer(nullptr, id).sendMessage("quit", 5000));
        QVERIFY(server.waitForFinished());
    }

    void badPeersDoNoHarm_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("other protocol") << QByteArray("GET / HTTP/1.1\r\n\r\n");
        QTest::newRow("cut mark") << QByteArray("QV");
        QTest::newRow("cut size") << QByteArray("QVM1\0\0", 6);
        QTest::newRow("huge size") << QByteArray("QVM1\xFF\xFF\xFF\xFE", 8);
        QTest::newRow("half a character") << QByteArray("QVM1\0\0\0\1x", 9);
        QTest::newRow("cut text") << QByteArray("QVM1\0\0\0\4xx", 10);
        QTest::newRow("more than announced") << QByteArray("QVM1\0\0\0\2xxmore", 14);
    }

    void badPeersDoNoHarm()
    {
        QFETCH(QByteArray, bytes);
        Instance server;
        QCOMPARE(server.Line(), QByteArray("server"));
        QLocalSocket stays;
        for (QLocalSocket* socket : {new QLocalSocket(&stays), &stays}) {
            socket->connectToServer(Socket());
            QVERIFY(socket->waitForConnected());
            socket->write(bytes);
            QVERIFY(bytes.isEmpty() || socket->waitForBytesWritten());
            if (socket != &stays)
                socket->abort();
        }
        QVERIFY(QtLocalPeer(nullptr, id).sendMessage("still there", 5000));
        QCOMPARE(server.Line(), Digest("still there")); // and nothing before it
    }

    void silentPeerIsDropped()
    {
        QtLocalPeer server(nullptr, id);
        QVERIFY(!server.isClient());
        QLocalSocket silent;
        silent.connectToServer(Socket());
        QVERIFY(silent.waitForConnected());
        QTRY_COMPARE_WITH_TIMEOUT(silent.state(), QLocalSocket::UnconnectedState, 10000);
    }

    void serverSurvivesLackOfDescriptors()
    {
        QProcess server;
        server.start("sh", {"-c", "ulimit -n 24; exec " INSTANCE_PATH " \"$0\"", id});
        QVERIFY(server.waitForReadyRead());
        QCOMPARE(server.readLine(), QByteArray("server\n"));
        {
            const QString socket = Socket();
            std::vector<std::unique_ptr<QLocalSocket>> crowd(40);
            for (auto& peer : crowd) {
                peer = std::make_unique<QLocalSocket>();
                peer->connectToServer(socket);
                peer->waitForConnected(100);
            }
        }
        QVERIFY(QtLocalPeer(nullptr, id).sendMessage("quit", 15000));
        QVERIFY(server.waitForFinished());
    }

    void removedLockFileMakesNoSecondServer()
    {
        Instance server;
        QCOMPARE(server.Line(), QByteArray("server")); // it listens, and not only has its socket
        const QStringList locks = QDir(directory_->path()).entryList({"*-lock"});
        QCOMPARE(locks.size(), 1);
        QVERIFY(QFile::remove(directory_->filePath(locks[0])));
        QVERIFY(QtLocalPeer(nullptr, id).isClient());
        QVERIFY(QtLocalPeer(nullptr, id).sendMessage("quit", 5000));
    }

    void serverIsDeletedByItsHandler()
    {
        auto* server = new QtLocalPeer(nullptr, id);
        QVERIFY(!server->isClient());
        bool received = false;
        connect(server, &QtLocalPeer::messageReceived, this, [&] {
            delete server;
            received = true;
        });
        bool sent = false;
        std::thread client([&] { sent = QtLocalPeer(nullptr, id).sendMessage("any", 5000); });
        QTRY_VERIFY(received);
        client.join();
        QVERIFY(sent);
    }

    void sessions_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<bool>("same");
        QTest::newRow("screens") << ":7"
                                 << ":7.1" << true;
        QTest::newRow("displays") << ":7"
                                  << ":8" << false;
        QTest::newRow("hosts") << "a.b:0"
                               << "a.c:0.0" << false;
        QTest::newRow("host") << "a.b:0"
                              << "a.b:0.2" << true;
    }

    void sessions()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        qputenv("DISPLAY", first.toLatin1());
        QtLocalPeer server(nullptr, id);
        QVERIFY(!server.isClient());
        qputenv("DISPLAY", second.toLatin1());
        QTEST(QtLocalPeer(nullptr, id).isClient(), "same");
    }

    void fiftyAtOnce()
    {
        constexpr int count = 50;
        std::vector<std::unique_ptr<Instance>> instances;
        instances.reserve(count);
        for (int i = 0; i < count; ++i)
            instances.push_back(std::make_unique<Instance>(id, QString::number(i)));
        QList<QByteArray> expected;
        Instance* server = nullptr;
        for (int i = 0; i < count; ++i) {
            const QByteArray line = instances[size_t(i)]->Line();
            if (line == "server") {
                QVERIFY(!server);
                server = instances[size_t(i)].get();
            } else {
                QCOMPARE(line, QByteArray("client"));
                expected << Digest(QString::number(i));
            }
        }
        QVERIFY(server);
        QCOMPARE(expected.size(), count - 1);
        for (int i = 0; i < count - 1; ++i)
            QVERIFY2(expected.removeOne(server->Line()), "each message arrives once");
        for (const auto& instance : instances) {
            if (instance.get() != server) {
                QVERIFY(instance->waitForFinished());
                QCOMPARE(instance->exitCode(), 0);
            }
        }
    }

    void directories()
    {
        // One that others may enter, and one whose path is too long for a socket.
        QVERIFY(QFile::setPermissions(directory_->path(), QFile::Permissions(0x7755)));
        QVERIFY(!QtLocalPeer(nullptr, id).isClient());
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

    void window_data()
    {
        QTest::addColumn<QByteArray>("state");
        QTest::newRow("window") << QByteArray("minimized");
        QTest::newRow("window activated") << QByteArray("raised");
    }

    void window()
    {
        QFETCH(QByteArray, state);
        const QString name = QTest::currentDataTag();
        Instance server(name);
        QCOMPARE(server.Line(), QByteArray("server"));
        QVERIFY(QtLocalPeer(nullptr, name).sendMessage("show", 5000));
        QCOMPARE(server.Line(), state);
        QCOMPARE(server.Line(), Digest("show"));
    }
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
