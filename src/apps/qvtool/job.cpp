#include "job.h"

#include "console.h"

#include <QCoreApplication>

namespace qvtool {

using common::FileCopier;
using common::FileRemover;
using common::http::IFileDownload;

namespace {

template <typename Job, typename Number>
void ShowProgress(const Job& job, void (Job::*changed)(Number, Number), Progress& progress)
{
    QObject::connect(&job, changed, &job,
                     [&](Number done, Number total) { progress.Update(done, total); });
}

template <typename Job>
Outcome RunToEnd(Job& job, void (Job::*ended)(), const std::function<void()>& start,
                 const std::function<void()>& abort)
{
    Outcome outcome;
    QEventLoop loop;
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

} // namespace

Outcome Run(IFileDownload& download, bool quiet)
{
    Progress progress(Progress::Bytes, quiet);
    ShowProgress(download, &IFileDownload::progress, progress);
    return RunToEnd(
        download, &IFileDownload::complete, [&] { download.Start(); }, [&] { download.Abort(); });
}

Outcome Run(FileCopier& copier, bool quiet)
{
    Progress progress(Progress::Bytes, quiet);
    ShowProgress(copier, &FileCopier::bytesProgress, progress);
    return RunToEnd(
        copier, &FileCopier::succesed, [&] { copier.Copy(); }, [&] { copier.Abort(true); });
}

Outcome Run(FileRemover& remover, bool quiet)
{
    Progress progress(Progress::Items, quiet);
    ShowProgress(remover, &FileRemover::progress, progress);
    return RunToEnd(
        remover, &FileRemover::succesed, [&] { remover.Remove(); }, [&] { remover.Abort(true); });
}

} // namespace qvtool
