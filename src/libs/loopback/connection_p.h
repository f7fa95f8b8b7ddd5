#pragma once

#include "loopback/server.h"

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

namespace loopback {

/** Serves the requests of one client connection, one after the other. Deletes itself at its end. */
class Connection : public QObject
{
    Q_OBJECT

public:
    Connection(QTcpSocket* socket, Server* server);

private:
    void ReadRequest();
    void SendHead();
    void SendBody();
    bool SendPiece();
    void FinishReply();
    void End();

    QTcpSocket* socket_;
    Server* server_;
    QTimer pace_;
    QByteArray buffer_;
    Reply reply_;
    qint64 sent_ = 0;
    qint64 toSend_ = 0;
    bool busy_ = false;
};

} // namespace loopback
