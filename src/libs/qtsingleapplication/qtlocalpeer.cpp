#include "qtsingleapplication/qtlocalpeer.h"

#include "qtsingleapplication/messageframe_p.h"
#include "qtsingleapplication/peeraddress_p.h"
#include "qtsingleapplication/peerconnection_p.h"
#include "qtsingleapplication/qtlockedfile.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>

namespace {

constexpr int retryInterval = 20; // milliseconds

int Remaining(const QDeadlineTimer& deadline)
{
    return static_cast<int>(deadline.remainingTime()); // -1 for ever
}

// The server may be about to listen, or busy.
bool Connect(QLocalSocket& socket, const QString& path, const QDeadlineTimer& deadline)
{
    do {
        socket.connectToServer(path);
        if (socket.waitForConnected(Remaining(deadline)))
            return peeraddress::IsOwnUser(socket);
        socket.abort();
        QThread::msleep(retryInterval);
    } while (!deadline.hasExpired());
    return false;
}

bool Transfer(QLocalSocket& socket, const QByteArray& frame, const QDeadlineTimer& deadline)
{
    socket.write(frame);
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(Remaining(deadline)))
            return false;
    }
    char answer = 0;
    return (socket.bytesAvailable() > 0 || socket.waitForReadyRead(Remaining(deadline))) &&
           socket.getChar(&answer) && answer == messageframe::confirmation;
}

} // namespace

QtLocalPeer::QtLocalPeer(QObject* parent, const QString& appId)
    : QObject(parent),
      id_(appId.isEmpty() ? QCoreApplication::applicationFilePath() : appId),
      socketPath_(peeraddress::SocketPath(id_)),
      lockFile_(new QtLockedFile(socketPath_ + QStringLiteral("-lock"))),
      server_(new QLocalServer(this))
{
    connect(server_, &QLocalServer::newConnection, this, &QtLocalPeer::AcceptConnections);
    if (socketPath_.isEmpty() || !lockFile_->open(QIODevice::ReadWrite))
        qWarning("QtLocalPeer: there is no directory for the lock of this application");
}

QtLocalPeer::~QtLocalPeer()
{
    server_->close(); // as long as the lock is held: the socket is removed with it
}

bool QtLocalPeer::IsServer() const
{
    return lockFile_->isLocked();
}

bool QtLocalPeer::isClient()
{
    if (IsServer() || !lockFile_->isOpen())
        return false;
    if (!lockFile_->lock(QtLockedFile::WriteLock, false))
        return true;
    if (!Listen())
        qWarning("QtLocalPeer: cannot listen: %s", qPrintable(server_->errorString()));
    return false;
}

// Who holds the lock may remove the socket that a crashed server has left.
bool QtLocalPeer::Listen()
{
    QLocalServer::removeServer(socketPath_);
    return server_->listen(socketPath_);
}

bool QtLocalPeer::sendMessage(const QString& message, int timeout)
{
    const QByteArray frame = messageframe::Encode(message);
    if (frame.isEmpty() || !isClient())
        return false;
    const auto deadline =
        timeout < 0 ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(timeout);
    QLocalSocket socket;
    return Connect(socket, socketPath_, deadline) && Transfer(socket, frame, deadline);
}

QString QtLocalPeer::applicationId() const
{
    return id_;
}

void QtLocalPeer::AcceptConnections()
{
    while (QLocalSocket* socket = server_->nextPendingConnection()) {
        if (!peeraddress::IsOwnUser(*socket)) {
            socket->deleteLater();
            continue;
        }
        auto* connection = new PeerConnection(socket, this);
        connect(connection, &PeerConnection::received, this, &QtLocalPeer::messageReceived);
    }
}
