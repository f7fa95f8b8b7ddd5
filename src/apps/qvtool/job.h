#pragma once

#include "console.h"

#include <QCoreApplication>

namespace qvtool {

/** How far a job came; with error 0, to its end. */
struct Outcome
{
    qint64 done = 0;
    qint64 total = 0;
    int error = 0;
    QString message;
};

/** Runs a job until it ends or a signal comes; what it tells by @p counted moves the bar. */
template <typename Job, typename Number>
Outcome Run(Job& job, void (Job::*ended)(), void (Job::*counted)(Number, Number),
            Progress&& progress, const std::function<void()>& start,
            const std::function<void()>& abort)
{
    Outcome outcome;
    QEventLoop loop;
    QObject::connect(&job, counted, &loop,
                     [&](Number done, Number total) { progress.Update(done, total); });
    QObject::connect(&job, &Job::progress, &loop, [&](qint64 done, qint64 total) {
        outcome.done = done;
        outcome.total = total;
    });
    QObject::connect(&job, ended, &loop, &QEventLoop::quit);
    QObject::connect(&job, &Job::failed, &loop, [&](int error, const QString& message) {
        outcome.error = error;
        outcome.message = message;
        loop.quit();
    });
    Await(loop, start);
    abort();
    QCoreApplication::sendPostedEvents(); // the last reports of a job that was aborted
    return outcome;
}

} // namespace qvtool
