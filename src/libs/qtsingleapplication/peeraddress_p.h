#pragma once

#include <QString>

class QLocalSocket;

/** Where the instances of one application, user and session meet. */
namespace peeraddress {

/**
 * The path of the socket, within the system's limit of 107 bytes. Empty if there is no directory
 * that is this user's alone.
 */
QString SocketPath(const QString& applicationId);

/** Whether a process of this user is at the other end. */
bool IsOwnUser(const QLocalSocket& socket);

} // namespace peeraddress
