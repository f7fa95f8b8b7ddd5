#pragma once

#include "qtsingleapplication/messageframe_p.h"

#include <QObject>
#include <QTimer>

class QLocalSocket;

/**
 * The server's end of one connection: takes one message, confirms it and deletes itself. So it does
 * when the peer sends garbage or nothing for a while.
 */
class PeerConnection : public QObject
{
    Q_OBJECT

public:
    /** Takes over the socket. */
    PeerConnection(QLocalSocket* socket, QObject* parent);

Q_SIGNALS:
    void received(const QString& message);

private:
    void Read();

    QLocalSocket* socket_;
    QTimer silence_;
    messageframe::Decoder decoder_;
};
