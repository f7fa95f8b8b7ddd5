#pragma once

#include <QDeadlineTimer>
#include <QObject>
#include <QPair>
#include <QQueue>

#include <mutex>
#include <optional>

namespace common {

/**
 * Stands between a worker and its front object, one for each job, on the front object's thread.
 *
 * A worker's signals are queued, and a queued signal cannot be taken back by disconnecting its
 * sender. Dropping the relay of a discarded job does it.
 *
 * Each report of progress is passed on, in order, but the front object's thread is woken for them
 * no more often than every 10 ms: waking it for each small file took as long as half a copy. It is
 * kept for 10 ms at a time, so that slow slots do not keep it from everything else. Of the bytes
 * only the last report is passed on.
 */
class JobRelay : public QObject
{
    Q_OBJECT

public:
    /**
     * Passes the worker's signals on to the front object and makes sure that the worker does not
     * outlive that.
     */
    template <typename Task, typename Front>
    JobRelay(Task* task, Front* front) : QObject(front)
    {
        // The front object waits for the worker before it lets go of the relay.
        connect(task, &Task::progress, this, &JobRelay::Keep, Qt::DirectConnection);
        connect(task, &Task::succesed, this, &JobRelay::OnSuccesed, Qt::QueuedConnection);
        connect(task, &Task::failed, this, &JobRelay::OnFailed, Qt::QueuedConnection);
        connect(this, &JobRelay::progress, front, &Front::progress);
        connect(this, &JobRelay::succesed, front, &Front::succesed);
        connect(this, &JobRelay::failed, front, &Front::failed);
        // A deferred deletion is never carried out where no event loop runs any more.
        connect(front, &QObject::destroyed, task, [task] { delete task; });
    }

    /** Takes a report of bytes, on the worker's thread. */
    void KeepBytes(qint64 done, qint64 total);

    /** Nothing that is queued gets through any more. */
    void Drop();

Q_SIGNALS:
    void progress(int current, int total);
    void succesed();
    void failed(int errorCode, const QString& errorText);
    void bytesProgress(qint64 done, qint64 total);

private:
    using Report = QPair<int, int>;
    using Bytes = QPair<qint64, qint64>;

    void Keep(int current, int total); // on the worker's thread
    void Schedule();
    void Deliver();
    bool DeliverKept(QDeadlineTimer end);
    std::optional<Report> NextReport();
    std::optional<Bytes> TakeBytes();
    void OnSuccesed();
    void OnFailed(int errorCode, const QString& errorText);

    std::mutex mutex_; // the thread sanitizer sees this one
    QQueue<Report> reports_;
    std::optional<Bytes> bytes_;
    bool deliveryIsDue_ = false;
};

} // namespace common
