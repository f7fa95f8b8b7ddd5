#include "common/shell/jobrelay_p.h"

#include <QPointer>
#include <QTimer>

#include <utility>

namespace common {

namespace {

constexpr int deliveryPause = 10; // milliseconds; a pass takes no longer, either

} // namespace

void JobRelay::Drop()
{
    disconnect();
    deleteLater();
}

void JobRelay::Keep(int current, int total)
{
    const std::lock_guard lock(mutex_);
    reports_.enqueue({current, total});
    Schedule();
}

void JobRelay::KeepBytes(qint64 done, qint64 total)
{
    const std::lock_guard lock(mutex_);
    bytes_ = {done, total};
    Schedule();
}

void JobRelay::Schedule()
{
    if (deliveryIsDue_)
        return;
    deliveryIsDue_ = true;
    QMetaObject::invokeMethod(this, &JobRelay::Deliver, Qt::QueuedConnection);
}

void JobRelay::Deliver()
{
    {
        const std::lock_guard lock(mutex_);
        deliveryIsDue_ = !reports_.isEmpty() || bytes_;
        if (!deliveryIsDue_)
            return;
    }
    QTimer::singleShot(deliveryPause, this, &JobRelay::Deliver);
    DeliverKept(QDeadlineTimer(deliveryPause));
}

// Takes the reports one by one, since a slot may run an event loop that goes on with them. Says
// whether the relay is still there: a slot may also delete the front object.
bool JobRelay::DeliverKept(QDeadlineTimer end)
{
    const QPointer<JobRelay> self(this);
    if (const auto bytes = TakeBytes())
        Q_EMIT bytesProgress(bytes->first, bytes->second);
    while (self && !end.hasExpired()) {
        const auto report = NextReport();
        if (!report)
            return true;
        Q_EMIT progress(report->first, report->second);
    }
    return !self.isNull();
}

std::optional<JobRelay::Report> JobRelay::NextReport()
{
    const std::lock_guard lock(mutex_);
    if (reports_.isEmpty())
        return std::nullopt;
    return reports_.dequeue();
}

std::optional<JobRelay::Bytes> JobRelay::TakeBytes()
{
    const std::lock_guard lock(mutex_);
    return std::exchange(bytes_, std::nullopt);
}

void JobRelay::OnSuccesed()
{
    if (DeliverKept(QDeadlineTimer::Forever))
        Q_EMIT succesed();
}

void JobRelay::OnFailed(int errorCode, const QString& errorText)
{
    if (DeliverKept(QDeadlineTimer::Forever))
        Q_EMIT failed(errorCode, errorText);
}

} // namespace common
