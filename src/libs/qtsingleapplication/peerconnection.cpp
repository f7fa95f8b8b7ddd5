#include "qtsingleapplication/peerconnection_p.h"

#include <QLocalSocket>

namespace {

constexpr int longestSilence = 5000; // milliseconds

} // namespace

PeerConnection::PeerConnection(QLocalSocket* socket, QObject* parent)
    : QObject(parent), socket_(socket)
{
    socket_->setParent(this);
    silence_.setSingleShot(true);
    connect(&silence_, &QTimer::timeout, this, &QObject::deleteLater);
    connect(socket_, &QLocalSocket::disconnected, this, &QObject::deleteLater);
    connect(socket_, &QLocalSocket::readyRead, this, &PeerConnection::Read);
    Read();
}

void PeerConnection::Read()
{
    silence_.start(longestSilence);
    const auto state = decoder_.Add(socket_->readAll());
    if (state == messageframe::Decoder::Incomplete)
        return;
    disconnect(socket_, &QLocalSocket::readyRead, this, nullptr);
    if (state == messageframe::Decoder::Garbage)
        return deleteLater();
    socket_->write(&messageframe::confirmation, 1);
    socket_->flush();
    // Not from within the constructor, nor from a handler that runs an event loop of its own.
    QMetaObject::invokeMethod(
        this,
        [this] {
            deleteLater(); // first, as a handler may delete the server
            Q_EMIT received(decoder_.Message());
        },
        Qt::QueuedConnection);
}
