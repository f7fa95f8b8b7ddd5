#pragma once

#include <QObject>

namespace common {

/**
 * Stands between a worker and its front object, one for each job.
 *
 * A worker's signals are queued, and a queued signal cannot be taken back by disconnecting its
 * sender. Dropping the relay of a discarded job does it.
 */
class JobRelay : public QObject
{
    Q_OBJECT

public:
    /**
     * Passes the worker's signals on to the front object, on the front object's thread, and makes
     * sure that the worker does not outlive that.
     */
    template <typename Task, typename Front>
    JobRelay(Task* task, Front* front) : QObject(front)
    {
        connect(task, &Task::progress, this, &JobRelay::progress, Qt::QueuedConnection);
        connect(task, &Task::succesed, this, &JobRelay::succesed, Qt::QueuedConnection);
        connect(task, &Task::failed, this, &JobRelay::failed, Qt::QueuedConnection);
        connect(this, &JobRelay::progress, front, &Front::progress);
        connect(this, &JobRelay::succesed, front, &Front::succesed);
        connect(this, &JobRelay::failed, front, &Front::failed);
        // A deferred deletion is never carried out where no event loop runs any more.
        connect(front, &QObject::destroyed, task, [task] { delete task; });
    }

    /** Nothing that is queued gets through any more. */
    void Drop()
    {
        disconnect();
        deleteLater();
    }

Q_SIGNALS:
    void progress(int current, int total);
    void succesed();
    void failed(int errorCode, const QString& errorText);
};

} // namespace common
