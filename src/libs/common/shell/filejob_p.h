#pragma once

#include "common/logger/log.h"
#include "common/shell/filecommands_p.h"
#include "common/shell/jobrelay_p.h"

#include <QAtomicInt>
#include <QElapsedTimer>
#include <QPointer>
#include <QScopedPointer>
#include <QThread>

#include <utility>

namespace common {

/** The thread of a worker, which deletes itself after that, and what the worker knows there. */
template <typename Work>
class JobThread : public QThread
{
public:
    template <typename Task, typename... Arguments>
    explicit JobThread(Task* task, Arguments&&... arguments)
        : work(std::forward<Arguments>(arguments)...)
    {
        connect(this, &QThread::started, task, &Task::run, Qt::DirectConnection);
        connect(this, &QThread::finished, task, &Task::deleteLater, Qt::QueuedConnection);
    }

    static Work& Of(const QScopedPointer<QThread>& thread)
    {
        return static_cast<JobThread*>(thread.data())->work;
    }

    Work work;
};

/** The life of a job that copies or removes files, as far as it is the same. */
struct FileJob
{
    logger::ICategory logCategory;
    const char* logSource;
    const char* start; ///< the operation that starts it: "Copy"
    const char* verb;  ///< what it does: "Copying"
    const char* noun;  ///< what does it: "copier"
    int noThreadError;

    // Of the front object.

    /** Makes a new worker for the lists, in place of the one before. */
    template <typename Front, typename Task, typename... Lists>
    void Prepare(Front* front, QPointer<Task>& task, QPointer<JobRelay>& relay,
                 const Lists&... lists) const
    {
        QVLOG_FROM(start, DEBUG) << start;
        if (relay)
            relay->Drop();
        front->Abort(true);
        task = new Task(lists...);
        relay = new JobRelay(task.data(), front);
    }

    template <typename Task>
    static void End(QPointer<Task>& task, bool force)
    {
        if (!task)
            return;
        task->Abort(force);
        task->deleteLater();
        task.clear();
    }

    // Of the worker.

    template <typename Task>
    void StartThread(Task* task, QThread* thread) const
    {
        if (thread) {
            thread->start(QThread::InheritPriority);
            if (thread->isRunning() || thread->isFinished())
                return;
        }
        const auto text = QStringLiteral("Thread variable is NULL!");
        QVLOG_FROM(start, ERROR) << text;
        Q_EMIT task->failed(noThreadError, text);
    }

    void Await(QThread* thread) const;

    /** The job itself, the steps of which give its code, with its end. */
    template <typename Task, typename Steps>
    void Run(Task* task, Steps steps) const
    {
        QElapsedTimer timer;
        timer.start();
        const int code = steps();
        if (code == 0) {
            QVLOG_FROM("run", INFO) << verb << " finished in " << timer.elapsed() << " msec.";
            Q_EMIT task->succesed();
        } else {
            const QString text = QStringLiteral("%1 failed with error '%2'!")
                                     .arg(QLatin1String(verb), QString::number(code));
            QVLOG_FROM("run", ERROR) << text;
            Q_EMIT task->failed(code, text);
        }
        QThread::currentThread()->quit();
    }

    /** The attempts to change something, and the system's reason if they fail. */
    template <typename Operation, typename Describe>
    bool Try(const char* function, Operation operation, Describe describe) const
    {
        const bool isDone = Retry(function, operation, describe);
        if (!isDone)
            LogReason(errno);
        return isDone;
    }

    /** Whether an abort was asked for; logged in the name of the function that asks. */
    bool IsAborted(const QAtomicInt& flag, const char* function) const;

private:
    void LogReason(int error) const;
};

} // namespace common
