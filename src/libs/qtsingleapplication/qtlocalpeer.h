#pragma once

#include "common/qvcommon_export.h"

#include <QElapsedTimer>
#include <QObject>
#include <QScopedPointer>
#include <QString>
#include <QTimer>

class QLocalServer;
class QtLockedFile;

/**
 * One of the instances of a program that belong together: the first is the server, to which the
 * others, its clients, send messages.
 *
 * They find each other by the application's id, the user and the desktop session (DISPLAY, or else
 * WAYLAND_DISPLAY, or else XDG_SESSION_ID): the socket and the lock lie in XDG_RUNTIME_DIR, or in a
 * directory in /tmp that is closed to other users. (An option such as -display is not seen.) A
 * server that crashed is succeeded by the next instance that asks. Peers of other users are
 * refused.
 *
 * For one thread, with an event loop in the server.
 */
class QVCOMMON_EXPORT QtLocalPeer : public QObject
{
    Q_OBJECT

public:
    /**
     * @param parent owns the peer
     * @param appId  any text; empty for the path of the program's file
     */
    explicit QtLocalPeer(QObject* parent = nullptr, const QString& appId = QString());
    ~QtLocalPeer() override;

    /**
     * Whether another instance is the server; may block for a second. If none is, this one becomes
     * the server. Should the lock be impossible to make, each instance takes itself for the first.
     */
    bool isClient();

    /**
     * Sends a text of any kind, of up to 128 Mi characters, to the server; blocks meanwhile. Asks
     * isClient() first: where there is no server, this one becomes it.
     *
     * @param message the text
     * @param timeout milliseconds, of which the answer takes some; below 0 without limit
     * @return whether the server has confirmed that it got the whole text, which it will handle in
     *         its event loop; false also from the server itself, and after the whole timeout (never,
     *         if there is none) where the server lives on the calling thread, which cannot answer
     *         meanwhile. After false it may yet have got it.
     */
    bool sendMessage(const QString& message, int timeout);

    /** The id that was given, or the path of the program's file. */
    QString applicationId() const;

Q_SIGNALS:
    /** A client has sent a text to this server. Any program of the user may be that client. */
    void messageReceived(const QString& message);

private:
    QVCOMMON_NO_EXPORT bool IsServer() const;
    QVCOMMON_NO_EXPORT bool TakeLock();
    QVCOMMON_NO_EXPORT bool IsServed() const;
    QVCOMMON_NO_EXPORT void Listen();
    QVCOMMON_NO_EXPORT void KeepUp();
    QVCOMMON_NO_EXPORT void AcceptConnections();

    QString id_;
    QString socketPath_;
    QScopedPointer<QtLockedFile> lockFile_;
    QLocalServer* server_; // a child
    QTimer upkeep_;
    QElapsedTimer touched_;
};
