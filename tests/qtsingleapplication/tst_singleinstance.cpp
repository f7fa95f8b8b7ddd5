#include <qtsingleapplication/qtlocalpeer.h>
#include <qtsingleapplication/qtlockedfile.h>

#include <QLocalSocket>
#include <QtTest>

#include <csignal>
#include <future>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

const QString id = "an id: Zoë's \"application\"/";

// As an instance of either version of Qt describes a message.
QByteArray Described(const QString& message)
{
    return QByteArray::number(quint64(std::hash<std::u16string>()(message.toStdU16String())));
}

bool Send(const QString& message, const QString& applicationId = id)
{
    return QtLocalPeer(nullptr, applicationId).sendMessage(message, 20000);
}

class Instance : public QProcess
{
public:
    explicit Instance(const QString& applicationId = id)
    {
        start(qEnvironmentVariable("QVCOMMON_INSTANCE", INSTANCE_PATH), {applicationId});
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

    bool Succeeds() { return (state() == NotRunning || waitForFinished()) && exitCode() == 0; }
};

} // namespace

class TestSingleInstance : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<QTemporaryDir> directory_;

    QStringList Sockets() const
    {
        return QDir(directory_->path())
            .entryList(QDir::System)
            .replaceInStrings(QRegularExpression("^"), directory_->path() + "/");
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
        QVERIFY(!first.lock(File::WriteLock) && !first.open(QIODevice::WriteOnly));
        QVERIFY(!first.open(QIODevice::ReadWrite | QIODevice::Truncate));
        QVERIFY(first.open(QIODevice::ReadWrite) && second.open(QIODevice::ReadWrite));

        QVERIFY(first.lock(File::ReadLock) && second.lock(File::ReadLock));
        QVERIFY(!first.lock(File::WriteLock, false) && first.lockMode() == File::ReadLock);
        QVERIFY(second.unlock() && !second.isLocked());
        QVERIFY(first.lock(File::WriteLock, false) && !second.lock(File::ReadLock, false));
        first.write("flushed");
        auto locked = std::async(std::launch::async, [&] { return second.lock(File::WriteLock); });
        QTest::qWait(20);
        QVERIFY(first.unlock() && locked.get());
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
        qputenv("DISPLAY", "a.b:7.2");
        QVERIFY(QtLocalPeer(nullptr, id).isClient()); // another screen
        qputenv("DISPLAY", "a.c:7");
        QVERIFY(!QtLocalPeer(nullptr, id).isClient());
    }

    void messages()
    {
        Instance server;
        QCOMPARE(server.Line(), QByteArray("server"));
        const QString torn = QString("a") + QChar(0) + QChar(0xD800) + "b" + QChar(0xDC00);
        for (const QString& text : {QString(), QString("Zoë 📞\n"), torn, QString(20000000, 'x')}) {
            QVERIFY(Send(text));
            QCOMPARE(server.Line(), Described(text));
        }
        ::kill(pid_t(server.processId()), SIGSTOP);
        for (const int size : {5, 5000000})
            QVERIFY(!QtLocalPeer(nullptr, id).sendMessage(QString(size, 'x'), 300));
        ::kill(pid_t(server.processId()), SIGCONT);
        QVERIFY(QFile::remove(Sockets().value(0) + "-lock")); // makes no second server
        QtLocalPeer late(nullptr, id);
        QVERIFY(late.isClient() && late.isClient());
        QVERIFY(Send("quit") && server.Succeeds());
        QVERIFY(Sockets().isEmpty() && !late.isClient()); // it is the server now
    }

    // A crowd of which all but some are silent; and a server that has lost its socket, as when it is
    // out of file descriptors, which listens again in the same five seconds.
    void crowds()
    {
        QtLocalPeer server(nullptr, id);
        QSignalSpy received(&server, &QtLocalPeer::messageReceived);
        QVERIFY(!server.isClient());
        const QString socket = Sockets().value(0);
        Instance poor("poor");
        QCOMPARE(poor.Line(), QByteArray("server"));
        const QString poorSocket = Sockets().at(Sockets().at(0) == socket);
        QVERIFY(QFile::remove(poorSocket));

        const QByteArray frames[] = {QByteArray("QVM1\0\0\0\2x", 10), // the only right one
                                     QByteArray("GET \0\0\0\2xx", 10), "QVM1\xFF\xFF\xFF\xFE",
                                     QByteArray("QVM1\0\0\0\1x", 9),
                                     QByteArray("QVM1\0\0\0\2xxmore", 14)};
        std::vector<QLocalSocket> peers(101); // the last is one too many
        const auto gone = [&] {
            return std::count_if(peers.begin(), peers.end(), [](const QLocalSocket& peer) {
                return peer.state() == QLocalSocket::UnconnectedState;
            });
        };
        for (QLocalSocket& peer : peers) {
            peer.connectToServer(socket);
            QTRY_COMPARE(peer.state(), QLocalSocket::ConnectedState);
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(gone(), 1);
        for (size_t i = 0; i < std::size(frames); ++i)
            peers[i].write(frames[i]);
        QTRY_COMPARE(gone(), 6);
        QCOMPARE(received.size(), 1);
        QTRY_COMPARE_WITH_TIMEOUT(gone(), 101, 20000);
        QVERIFY(Send("quit", "poor") && poor.Succeeds());
    }

    // Whose message is there before it looks.
    void serverIsDeletedByItsHandler()
    {
        auto* server = new QtLocalPeer(nullptr, id);
        QVERIFY(!server->isClient());
        QLocalSocket client;
        client.connectToServer(Sockets().value(0));
        client.write("QVM1\0\0\0\2x", 10);
        QVERIFY(client.waitForBytesWritten());
        connect(server, &QtLocalPeer::messageReceived, this, [=] { delete server; });
        const QPointer<QtLocalPeer> alive(server);
        QTRY_VERIFY(!alive);
    }

    void fiftyAtOnce()
    {
        std::vector<Instance> instances(50);
        Instance* server = nullptr;
        for (Instance& instance : instances) {
            if (instance.Line() == "server")
                server = &instance;
        }
        for (Instance& instance : instances)
            QVERIFY(&instance == server ||
                    (instance.Succeeds() && server->Line() == Described("hello")));
        server->kill();
        QVERIFY(server->waitForFinished() && server->readAll().isEmpty());
        Instance successor; // although the socket is there
        QVERIFY(successor.Line() == "server" && Send("quit") && successor.Succeeds());
    }

    void directories()
    {
        // Those that others may enter, and one whose path is too long for a socket.
        for (const int mode : {0x7750, 0x7705}) {
            QFile::setPermissions(directory_->path(), QFile::Permissions(mode));
            QVERIFY(!QtLocalPeer(nullptr, id).isClient());
        }
        const QFileInfo instead("/tmp/qtsingleapp-" + QString::number(getuid()));
        QVERIFY(instead.isDir() && !(instead.permissions() & 0x0077));
        const QString deep = directory_->filePath(QString(90, 'd'));
        QVERIFY(QDir().mkdir(deep));
        QFile::setPermissions(deep, QFile::Permissions(0x7700));
        qputenv("XDG_RUNTIME_DIR", deep.toUtf8());
        QtLocalPeer server(nullptr, id);
        QVERIFY(!server.isClient());
        QVERIFY(QtLocalPeer(nullptr, id).isClient());
        for (const QString& unfit : {directory_->path(), deep})
            QVERIFY(QDir(unfit).entryList(QDir::System | QDir::Files).isEmpty());
    }

    void window()
    {
        for (const QString name : {"window", "window activated"}) {
            Instance server(name);
            QCOMPARE(server.Line(), QByteArray("server"));
            QVERIFY(Send("show", name));
            QCOMPARE(server.Line(), QByteArray(name == "window" ? "minimized" : "raised"));
            QCOMPARE(server.Line(), Described("show"));
            QVERIFY(Send("quit", name) && server.Succeeds());
        }
    }
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
