#include "common/http/heldreply_p.h"

#include <QEvent>

namespace common::http {

// Whatever an http or https reply does in the event loop, its signals among it, begins with an
// event for it.
class HeldReply::Guard : public QObject
{
public:
    explicit Guard(QNetworkReply* reply) : QObject(reply) { reply->installEventFilter(this); }

    bool eventFilter(QObject* reply, QEvent* event) override
    {
        const QPointer<Guard> self(this);
        ++inside_;
        reply->event(event);
        if (self && --inside_ == 0 && released_)
            reply->deleteLater();
        return true;
    }

    void Free()
    {
        released_ = true;
        if (inside_ == 0)
            parent()->deleteLater();
    }

private:
    int inside_ = 0;
    bool released_ = false;
};

HeldReply::HeldReply(QNetworkReply* reply, QObject* owner, bool isVerified, qint64 mostBytes)
    : verified(isVerified),
      maxSize(mostBytes),
      reply_(reply),
      guard_(new Guard(reply)),
      owner_(owner)
{
    reply->setReadBufferSize(maxSize + 1); // also while the event loop stands still
}

HeldReply::~HeldReply()
{
    Silence();
    if (reply_ && reply_->isRunning())
        reply_->abort();
    if (guard_)
        guard_->Free();
}

QTimer& HeldReply::MakeTimer(int milliseconds)
{
    timer_ = new QTimer(reply_);
    QObject::connect(reply_, &QNetworkReply::finished, timer_, &QTimer::stop);
    timer_->setSingleShot(true);
    timer_->setInterval(milliseconds);
    timer_->start();
    return *timer_;
}

void HeldReply::Silence()
{
    if (reply_)
        QObject::disconnect(reply_, nullptr, owner_, nullptr);
    delete timer_;
}

} // namespace common::http
