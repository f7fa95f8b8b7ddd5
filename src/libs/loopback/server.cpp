#include "loopback/server.h"

#include "loopback/connection_p.h"

#include <QHostAddress>

#include <utility>

namespace loopback {

Server::Server(Handler handler, QObject* parent) : QTcpServer(parent), handler_(std::move(handler))
{
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = nextPendingConnection())
            new Connection(socket, this);
    });
}

bool Server::Listen()
{
    return listen(QHostAddress(QHostAddress::LocalHost));
}

QUrl Server::Url(const QString& pathAndQuery) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(serverPort()) + pathAndQuery);
}

Reply Server::Answer(const Request& request)
{
    requests_ << request;
    return handler_(request);
}

} // namespace loopback
