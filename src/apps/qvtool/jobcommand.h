#pragma once

#include "command.h"
#include "progress.h"

namespace qvtool {

/** A command that runs one threaded job of the library over files: copying or removing. */
class JobCommand : public Command
{
    Q_OBJECT

protected:
    /**
     * @param done what is said of a finished item: "copied", "removed"
     * @param unit that of the progress that is shown; bytes are handed to Show()
     */
    JobCommand(const QString& name, const QString& summary, const QString& done,
               Progress::Unit unit, ToolLogger& log);

    QString Stop() override;

    /** Connects the library's front object. */
    template <typename Front>
    void Watch(Front* front)
    {
        connect(front, &Front::progress, this, &JobCommand::OnProgress);
        connect(front, &Front::succesed, this, &JobCommand::OnSucceeded);
        connect(front, &Front::failed, this, &JobCommand::OnFailed);
    }
    virtual void StartJob() = 0;
    virtual void AbortJob() = 0;
    /** Starts the job with its progress. */
    void Run();
    void Show(qint64 done, qint64 total);

private:
    void OnProgress(int current, int total);
    void OnSucceeded();
    void OnFailed(int code);
    QString HowFar() const;

    QString done_;
    Progress::Unit unit_;
    Progress progress_;
    int current_ = 0;
    int total_ = 0;
    bool stopped_ = false;
};

} // namespace qvtool
