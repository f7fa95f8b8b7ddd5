// Sends any bytes to a listening instance, in two pieces, and then a message that must arrive.
#include "fuzz.h"

#include <qtsingleapplication/qtlocalpeer.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QtEndian>

#include <optional>

namespace {

constexpr int longestWait = 10000; // milliseconds

QByteArray Frame(const QString& message)
{
    const int size = message.size() * int(sizeof(QChar));
    QByteArray frame = "QVM1" + QByteArray(4, '\0');
    qToBigEndian(quint32(size), frame.data() + 4);
    return frame.append(reinterpret_cast<const char*>(message.constData()), size);
}

class Instance
{
public:
    Instance()
    {
        qputenv("XDG_RUNTIME_DIR", directory_.path().toUtf8());
        peer_.emplace(nullptr, "frames");
        QObject::connect(&*peer_, &QtLocalPeer::messageReceived,
                         [this](const QString& message) { messages_ << message; });
        EXPECT(!peer_->isClient());
        QObject::connect(peer_->findChild<QLocalServer*>(), &QLocalServer::newConnection,
                         [this] { accepted_ = true; });
        idleChildren_ = peer_->children().size();
        for (const QString& name : QDir(directory_.path()).entryList(QDir::System))
            socketPath_ = directory_.filePath(name);
    }

    // A message, as a client does: the server confirms it.
    QStringList SendFrame(const QString& message, int cut)
    {
        const QByteArray frame = Frame(message);
        return Exchange(frame.left(cut), frame.mid(cut),
                        [](const QLocalSocket& socket) { return socket.bytesAvailable() > 0; });
    }

    QStringList SendBytes(const QByteArray& bytes, int cut)
    {
        return Exchange(bytes.left(cut), bytes.mid(cut), [](const QLocalSocket& socket) {
            return socket.bytesToWrite() == 0 || socket.state() != QLocalSocket::ConnectedState;
        });
    }

private:
    // The messages that come until the server has let go of the connection.
    template <typename Done>
    QStringList Exchange(const QByteArray& first, const QByteArray& second, Done done)
    {
        messages_.clear();
        accepted_ = false;
        QLocalSocket socket;
        socket.connectToServer(socketPath_);
        EXPECT(socket.waitForConnected(longestWait));
        socket.write(first);
        socket.flush();
        QCoreApplication::processEvents();
        socket.write(second);
        socket.flush();
        Await([&] { return accepted_ && done(socket); });
        socket.disconnectFromServer();
        Await([&] { return peer_->children().size() == idleChildren_; });
        return messages_;
    }

    template <typename Condition>
    void Await(Condition condition)
    {
        const QDeadlineTimer deadline(longestWait);
        while (!condition()) {
            QCoreApplication::processEvents();
            EXPECT(!deadline.hasExpired());
        }
    }

    const QTemporaryDir directory_{"/dev/shm/fuzz-XXXXXX"};
    std::optional<QtLocalPeer> peer_;
    bool accepted_ = false;
    int idleChildren_ = 0; // there is one more for each connection
    QString socketPath_;
    QStringList messages_;
};

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argc = 1;
    static char name[] = "frames";
    static char* argv[] = {name, nullptr};
    static const QCoreApplication application(argc, argv);
    static Instance instance;

    Input input(data, size);
    const bool isFrame = input.Number(0, 1);
    const int cut = input.Number(0, 40);
    const QByteArray bytes = input.Rest();
    if (isFrame) {
        EXPECT(instance.SendFrame(Text(bytes), cut) == QStringList(Text(bytes)));
        return 0;
    }
    for (const QString& message : instance.SendBytes(bytes, cut))
        EXPECT(bytes.startsWith(Frame(message)));
    EXPECT(instance.SendFrame("next", cut) == QStringList("next"));
    return 0;
}
