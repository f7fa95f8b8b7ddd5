#include "qtsingleapplication/qtlocalpeer.h"

#include "qtsingleapplication/messageframe_p.h"
#include "qtsingleapplication/peeraddress_p.h"
#include "qtsingleapplication/peerconnection_p.h"
#include "qtsingleapplication/qtlockedfile.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr int retryInterval = 20; // milliseconds
constexpr int probeTimeout = 1000;
constexpr int upkeepInterval = 5000;
constexpr qint64 touchInterval = 3600000;
constexpr int mostConnections = 100;

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
        const qint64 left = deadline.remainingTime();
        const qint64 pause = left < 0 ? retryInterval : qMin<qint64>(left, retryInterval);
        QThread::msleep(static_cast<unsigned long>(pause));
    } while (!deadline.hasExpired());
    return false;
}

// Programs that tidy up temporary directories go by a file's age.
void Touch(const QString& path)
{
    utimensat(AT_FDCWD, QFile::encodeName(path).constData(), nullptr, 0);
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
    connect(&upkeep_, &QTimer::timeout, this, &QtLocalPeer::KeepUp);
    upkeep_.setTimerType(Qt::VeryCoarseTimer);
    if (socketPath_.isEmpty())
        qWarning("QtLocalPeer: there is no directory that is this user's alone");
    else if (!lockFile_->open(QIODevice::ReadWrite))
        qWarning("QtLocalPeer: cannot open the lock: %s", qPrintable(lockFile_->errorString()));
    else // the sticky bit tells those who tidy up XDG_RUNTIME_DIR to leave it
        fchmod(lockFile_->handle(), S_IRUSR | S_IWUSR | S_ISVTX);
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
    if (!TakeLock())
        return errno == EAGAIN || errno == EACCES;
    if (IsServed()) {
        lockFile_->unlock();
        return true;
    }
    Listen();
    touched_.start();
    upkeep_.start(upkeepInterval);
    return false;
}

// If not, errno tells whether another one has it.
bool QtLocalPeer::TakeLock()
{
    errno = 0;
    if (lockFile_->lock(QtLockedFile::WriteLock, false))
        return true;
    const int error = errno;
    if (error != EAGAIN && error != EACCES)
        qWarning("QtLocalPeer: cannot lock: %s", qPrintable(qt_error_string(error)));
    errno = error;
    return false;
}

// By one whose lock file was removed.
bool QtLocalPeer::IsServed() const
{
    QLocalSocket probe;
    probe.connectToServer(socketPath_);
    return probe.waitForConnected(probeTimeout);
}

// Who holds the lock may remove the socket that a crashed server has left.
void QtLocalPeer::Listen()
{
    server_->close();
    QLocalServer::removeServer(socketPath_);
    if (!server_->listen(socketPath_))
        qWarning("QtLocalPeer: cannot listen: %s", qPrintable(server_->errorString()));
}

// A QLocalServer gives up listening when the process runs out of file descriptors.
void QtLocalPeer::KeepUp()
{
    if (!server_->isListening() || !QFile::exists(socketPath_))
        Listen();
    if (!touched_.hasExpired(touchInterval))
        return;
    touched_.start();
    Touch(socketPath_);
    Touch(lockFile_->fileName());
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
        const bool crowded = findChildren<PeerConnection*>().size() >= mostConnections;
        if (crowded || !peeraddress::IsOwnUser(*socket)) {
            delete socket;
            continue;
        }
        auto* connection = new PeerConnection(socket, this);
        connect(connection, &PeerConnection::received, this, &QtLocalPeer::messageReceived);
    }
}
