#include "jobpage.h"
#include "pages.h"

#include <common/shell/filecopier.h>
#include <loopback/samples.h>

#include <QDir>
#include <QTimer>

#include <memory>

using common::FileCopier;

namespace {

constexpr int folderCount = 12;
constexpr int filesPerFolder = 250;
constexpr int codeOfAbort = 700105;

/** Copies a folder, by default a tree of small files that it makes first. */
class CopyJob : public Job
{
public:
    CopyJob() { connect(&making_, &QTimer::timeout, this, &CopyJob::MakeNextFolder); }

    void Start(const QString& source, const QString& folder) override
    {
        source_ = source.isEmpty() ? TemporaryPath("tree") : source;
        target_ = FreePath(folder, "copy of " + QDir(source_).dirName());
        Q_EMIT began(QString("From %1 to %2").arg(source_, target_));
        if (source.isEmpty())
            making_.start(); // a folder a turn, so that it can be stopped
        else
            Copy();
    }

    void Stop() override
    {
        if (making_.isActive())
            EndMaking("Stopped while the sample was made.");
        else if (copier_)
            copier_->Abort(true);
    }

private:
    void MakeNextFolder()
    {
        if (madeFolders_ == folderCount) {
            making_.stop();
            return Copy();
        }
        const QString part = QString("%1/part %2").arg(source_).arg(madeFolders_);
        if (!loopback::MakeSampleTree(part, 1, filesPerFolder))
            return EndMaking("The sample cannot be made in " + source_);
        const qint64 size = filesPerFolder * QFileInfo(part + "/folder 0/file 0").size();
        ++madeFolders_;
        Q_EMIT progress("Making the sample", madeFolders_ * size, folderCount * size);
    }

    void EndMaking(const QString& result)
    {
        making_.stop();
        Q_EMIT ended(result);
    }

    void Copy()
    {
        copier_ = std::make_unique<FileCopier>();
        copier_->AddDirectory(source_, target_);
        connect(copier_.get(), &FileCopier::progress, this, [this](int done, int total) {
            item_ = QString("Copying item %L1 of %L2").arg(done).arg(total);
        });
        connect(copier_.get(), &FileCopier::bytesProgress, this,
                [this](qint64 done, qint64 total) { Q_EMIT progress(item_, done, total); });
        connect(copier_.get(), &FileCopier::succesed, this,
                [this] { Q_EMIT ended("Everything was copied to " + target_); });
        connect(copier_.get(), &FileCopier::failed, this, [this](int code, const QString& text) {
            Q_EMIT ended(code == codeOfAbort
                             ? "Stopped; what was copied until then is in " + target_
                             : QString("Failed with code %1: %2").arg(QString::number(code), text));
        });
        copier_->Copy();
    }

    std::unique_ptr<FileCopier> copier_;
    QTimer making_{this};
    int madeFolders_ = 0;
    QString source_;
    QString target_;
    QString item_;
};

} // namespace

Page* NewCopyPage()
{
    auto* page = new JobPage("Copy",
                             "A folder with all that is in it, copied on a thread of its own. A "
                             "copy that is stopped ends at once, even within a large file.",
                             new CopyJob);
    QFormLayout* form = page->AddForm();
    QLineEdit* source =
        Page::AddFolder(form, "Copy &from", "A sample of three thousand small files");
    page->AddJob(source, Page::AddFolder(form, "&Into", "A temporary folder"), "&Copy");
    return page;
}
