#pragma once

#include "console.h"

#include <QCoreApplication>

namespace qvtool {

/** How far a job of copying or removing came; with error 0, to its end. */
struct JobState
{
    int current = 0;
    int total = 0;
    int error = 0;
};

/** Runs a job of FileCopier or FileRemover to its end, or until a signal comes. */
template <typename Front>
JobState RunJob(Front& front, bool (Front::*start)())
{
    JobState state;
    QEventLoop loop;
    QObject::connect(&front, &Front::progress, &loop, [&](int current, int total) {
        state.current = current;
        state.total = total;
    });
    QObject::connect(&front, &Front::succesed, &loop, &QEventLoop::quit);
    QObject::connect(&front, &Front::failed, &loop, [&](int code) {
        state.error = code;
        loop.quit();
    });
    Await(loop, [&] { (front.*start)(); });
    front.Abort(true);
    QCoreApplication::sendPostedEvents(); // the last reports of a job that was aborted
    return state;
}

} // namespace qvtool
