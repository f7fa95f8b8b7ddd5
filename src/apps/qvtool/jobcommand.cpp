#include "jobcommand.h"

#include "text.h"

#include <QCoreApplication>

namespace qvtool {

JobCommand::JobCommand(const QString& name, const QString& summary, const QString& done,
                       Progress::Unit unit, ToolLogger& log)
    : Command(name, summary, log), done_(done), unit_(unit), progress_(stderr, unit)
{
}

void JobCommand::Run()
{
    progress_.Start();
    StartJob();
}

void JobCommand::OnProgress(int current, int total)
{
    current_ = current;
    total_ = total;
    if (unit_ == Progress::Items)
        Show(current, total);
}

void JobCommand::Show(qint64 done, qint64 total)
{
    if (!stopped_)
        progress_.Update(done, total);
}

void JobCommand::OnSucceeded()
{
    progress_.Finish();
    if (stopped_)
        return;
    if (PrintLine(stdout, HowFar()))
        Finish(Success);
    else
        Fail(HowFar() + QStringLiteral(", but standard output cannot be written"));
}

void JobCommand::OnFailed(int code)
{
    progress_.Finish();
    if (!stopped_)
        Fail(QStringLiteral("%1 (code %2; %3)")
                 .arg(Log().FirstFailure(), QString::number(code), HowFar()));
}

QString JobCommand::Stop()
{
    stopped_ = true;
    AbortJob();
    QCoreApplication::sendPostedEvents(); // the last reports of the job are still queued
    progress_.Finish();
    return HowFar();
}

QString JobCommand::HowFar() const
{
    if (current_ < total_)
        return QStringLiteral("%1 of %2 items %3").arg(current_).arg(total_).arg(done_);
    const auto noun = current_ == 1 ? QStringLiteral("item") : QStringLiteral("items");
    return QStringLiteral("%1 %2 %3").arg(QString::number(current_), noun, done_);
}

} // namespace qvtool
