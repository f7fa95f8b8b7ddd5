#include "qtsingleapplication/peeraddress_p.h"

#include <QCryptographicHash>
#include <QFile>
#include <QLocalSocket>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace peeraddress {

namespace {

constexpr int longestDirectory = 60; // leaves room for the names in it

QByteArray Session()
{
    QByteArray display = qgetenv("DISPLAY");
    const qsizetype screen = display.indexOf('.', display.lastIndexOf(':'));
    if (screen >= 0) // ":0" and ":0.1" are screens of one server
        display.truncate(screen);
    if (!display.isEmpty())
        return display;
    const QByteArray wayland = qgetenv("WAYLAND_DISPLAY");
    return wayland.isEmpty() ? qgetenv("XDG_SESSION_ID") : wayland;
}

bool IsPrivate(const QByteArray& directory)
{
    struct stat status = {};
    return lstat(directory.constData(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == getuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

QByteArray PrivateDirectory()
{
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    if (runtime.startsWith('/') && runtime.size() <= longestDirectory && IsPrivate(runtime))
        return runtime;
    const QByteArray own = "/tmp/qtsingleapp-" + QByteArray::number(getuid());
    mkdir(own.constData(), S_IRWXU); // or it is there
    return IsPrivate(own) ? own : QByteArray();
}

} // namespace

QString SocketPath(const QString& applicationId)
{
    const QByteArray directory = PrivateDirectory();
    if (directory.isEmpty())
        return QString();
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(applicationId.toUtf8());
    hash.addData(QByteArray(1, '\0') + Session());
    return QFile::decodeName(directory + "/qtsingleapp-" + hash.result().toHex().left(16));
}

bool IsOwnUser(const QLocalSocket& socket)
{
    struct ucred peer = {};
    socklen_t size = sizeof peer;
    const auto descriptor = static_cast<int>(socket.socketDescriptor());
    return getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == getuid();
}

} // namespace peeraddress
