#include "loopback/connection_p.h"

#include <sys/socket.h>
#include <utility>

namespace loopback {

namespace {

constexpr qint64 maxUnsent = Q_INT64_C(256) << 10;

} // namespace

Connection::Connection(QTcpSocket* socket, Server* server)
    : QObject(server), socket_(socket), server_(server)
{
    socket_->setParent(this);
    pace_.setSingleShot(true);
    connect(socket_, &QTcpSocket::readyRead, this, &Connection::ReadRequest);
    connect(socket_, &QTcpSocket::disconnected, &pace_, &QTimer::stop);
    connect(socket_, &QTcpSocket::disconnected, this, &Connection::deleteLater);
}

void Connection::ReadRequest()
{
    buffer_ += socket_->readAll();
    if (busy_)
        return;

    Request request;
    switch (RequestParser::Take(buffer_, request)) {
    case RequestParser::Incomplete:
        return;
    case RequestParser::Complete:
        reply_ = server_->Answer(request);
        break;
    case RequestParser::Malformed:
        reply_ = Reply::Status(400, "Bad Request");
        reply_.ending = Reply::Close;
        break;
    }

    busy_ = true;
    if (reply_.silent)
        return;
    if (reply_.drop)
        return End();
    disconnect(&pace_, nullptr, this, nullptr);
    connect(&pace_, &QTimer::timeout, this, &Connection::SendHead);
    pace_.start(reply_.delay);
}

void Connection::SendHead()
{
    QByteArray head =
        "HTTP/1.1 " + QByteArray::number(reply_.status) + ' ' + reply_.reason + "\r\n";
    for (const auto& header : std::as_const(reply_.headers))
        head += header.first + ": " + header.second + "\r\n";
    if (reply_.chunked) {
        head += "Transfer-Encoding: chunked\r\n";
    } else if (reply_.status != 204 && reply_.status != 304) {
        const qint64 length = reply_.claimedLength < 0 ? reply_.body.size() : reply_.claimedLength;
        head += "Content-Length: " + QByteArray::number(length) + "\r\n";
    }
    if (reply_.ending != Reply::KeepAlive)
        head += "Connection: close\r\n";
    socket_->write(head + "\r\n");

    sent_ = 0;
    toSend_ = reply_.body.size();
    if (reply_.cutAfter >= 0)
        toSend_ = qMin(toSend_, reply_.cutAfter);

    disconnect(&pace_, nullptr, this, nullptr);
    if (reply_.pause > 0)
        connect(&pace_, &QTimer::timeout, this, &Connection::SendBody);
    else
        connect(socket_, &QTcpSocket::bytesWritten, this, &Connection::SendBody);
    SendBody();
}

void Connection::SendBody()
{
    if (reply_.pause > 0) {
        if (SendPiece())
            pace_.start(reply_.pause);
        else
            FinishReply();
        return;
    }
    while (socket_->bytesToWrite() < maxUnsent) {
        if (!SendPiece())
            return FinishReply();
    }
}

// Whether there was anything left to send.
bool Connection::SendPiece()
{
    const qint64 size = qMin<qint64>(reply_.pieceSize, toSend_ - sent_);
    if (size <= 0)
        return false;
    const QByteArray piece = reply_.body.mid(static_cast<int>(sent_), static_cast<int>(size));
    sent_ += size;
    socket_->write(reply_.chunked ? QByteArray::number(size, 16) + "\r\n" + piece + "\r\n" : piece);
    return true;
}

void Connection::FinishReply()
{
    disconnect(socket_, &QTcpSocket::bytesWritten, this, nullptr);
    if (reply_.cutAfter >= 0)
        return End();
    if (reply_.chunked)
        socket_->write("0\r\n\r\n");
    if (reply_.ending != Reply::KeepAlive)
        return End();
    busy_ = false;
    ReadRequest();
}

void Connection::End()
{
    if (reply_.ending == Reply::Reset) {
        socket_->flush();
        const linger atOnce{1, 0};
        setsockopt(static_cast<int>(socket_->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce,
                   sizeof atOnce);
        socket_->abort();
        return;
    }
    socket_->disconnectFromHost();
}

} // namespace loopback
