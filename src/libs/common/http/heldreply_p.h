#pragma once

#include <QNetworkReply>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <optional>

namespace common::http {

/**
 * Owns the reply of one attempt, with the timer that measures its silence.
 *
 * Letting go of a reply has rules: to every observer it is gone at once, so it is disconnected from
 * its owner before it is aborted; but Qt goes on using it after most of its signals, so it is freed
 * only when nothing of it is on the stack, even if a handler of its signals runs an event loop. It
 * may also die before, with its manager.
 */
class HeldReply
{
public:
    /** Takes the reply over for the owner, whose connections to it are cut in the end. */
    HeldReply(QNetworkReply* reply, QObject* owner, bool isVerified, qint64 mostBytes);
    /** Aborts a running reply. Observers of that may do anything, so nothing may hold this here. */
    ~HeldReply();

    /** A single-shot timer that dies with the reply and stops when that is finished. */
    QTimer& MakeTimer(int milliseconds);
    /** Nothing of the reply reaches the owner any more. */
    void Silence();

    /** Whether the peer is verified, whatever the settings have become since it was asked. */
    const bool verified;
    /** Most bytes to hold of the reply, likewise. */
    const qint64 maxSize;
    /** What was read of a body that is too large. */
    std::optional<QByteArray> beginning;
    /** What is wrong with the certificates of a peer that is verified. */
    QStringList problems;

    Q_DISABLE_COPY_MOVE(HeldReply)

private:
    class Guard;

    QPointer<QNetworkReply> reply_;
    QPointer<Guard> guard_; // a child of the reply
    QObject* owner_;
    QPointer<QTimer> timer_;
};

} // namespace common::http
