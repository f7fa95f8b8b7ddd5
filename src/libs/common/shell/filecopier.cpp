#include "common/shell/filecopier.h"

#include "common/shell/copywork_p.h"
#include "common/shell/filecommands.h"
#include "common/shell/paths_p.h"

#include <QDir>
#include <QFileInfo>
#include <QMetaMethod>
#include <QSet>

#include <algorithm>
#include <utility>

namespace common {

namespace {

constexpr const logger::ICategory& logCategory = copyJob.logCategory;
constexpr const char* logSource = copyJob.logSource;

CopyPaths NativePair(const QString& source, const QString& destination)
{
    return {QDir::toNativeSeparators(source), QDir::toNativeSeparators(destination)};
}

} // namespace

FileCopier::FileCopier() = default;

FileCopier::~FileCopier()
{
    Abort(true);
}

void FileCopier::AddFile(const QString& fileSourcePath, const QString& fileDestPath)
{
    files_ << NativePair(fileSourcePath, fileDestPath);
}

void FileCopier::AddSymlink(const QString& fileSourcePath, const QString& fileDestPath)
{
    symlinks_ << NativePair(fileSourcePath, fileDestPath);
}

void FileCopier::AddDirectory(const QString& dirSourcePath, const QString& dirDestPath)
{
    directories_ << NativePair(dirSourcePath, dirDestPath);
}

bool FileCopier::Copy()
{
    copyJob.Prepare(this, task_, relay_, files_, directories_, symlinks_);
    if (isSignalConnected(QMetaMethod::fromSignal(&FileCopier::bytesProgress))) {
        connect(task_, &FileCopyTask::bytesProgress, relay_, &JobRelay::KeepBytes,
                Qt::DirectConnection);
        connect(relay_, &JobRelay::bytesProgress, this, &FileCopier::bytesProgress);
    }
    task_->Copy();
    return true;
}

void FileCopier::Abort(bool force)
{
    FileJob::End(task_, force);
}

FileCopyTask::FileCopyTask(const QList<CopyPaths>& files, QList<CopyPaths> directories,
                           QList<CopyPaths> symlinks)
    : files_(files),
      symlinks_(std::move(symlinks)),
      directories_(std::move(directories)),
      thread_(new JobThread<CopyWork>(this, this, abort_))
{
}

FileCopyTask::~FileCopyTask()
{
    Abort(true);
}

void FileCopyTask::Copy()
{
    abort_.storeRelaxed(0);
    copyJob.StartThread(this, thread_.data());
}

void FileCopyTask::Abort(bool force)
{
    if (force)
        abort_.storeRelaxed(1);
    copyJob.Await(thread_.data());
}

void FileCopyTask::run()
{
    copyJob.Run(this, [this] {
        const int code = Scan();
        return code == 0 ? CopyAll() : code;
    });
}

int FileCopyTask::Scan()
{
    QVLOG(DEBUG) << "Start scanning directories...";
    CopyWork& work = JobThread<CopyWork>::Of(thread_);
    work.Clear(isSignalConnected(QMetaMethod::fromSignal(&FileCopyTask::bytesProgress)));
    for (const CopyPaths& tree : std::as_const(directories_)) {
        if (copyJob.IsAborted(abort_, __func__))
            return abortedError;
        if (!IsName(tree.second)) {
            QVLOG(ERROR) << "Cannot create path to '" << tree.second << "'";
            return createDirectoryError;
        }
        CopyTree& found = work.trees.emplace_back(tree);
        const int code = work.List(found);
        if (code != 0) {
            QVLOG(ERROR) << "Scanning directory '" << tree.first << "' failed with error '" << code
                         << "'!";
            return code;
        }
        found.to.LookAtRoot();
    }
    QVLOG(DEBUG) << "Directories scanning finished.";
    return 0;
}

int FileCopyTask::ScanPath(const QString& root, const QString& path, QStringList& files,
                           QStringList& links)
{
    CopyTree found({path, path});
    const int code = JobThread<CopyWork>::Of(thread_).List(found);
    const auto relative = [&](const Tree::Entry& entry) {
        return QDir(root).relativeFilePath(QFileInfo(found.SourceOf(entry)).absoluteFilePath());
    };
    for (const Tree::Entry& entry : found.files)
        files << relative(entry);
    for (const Tree::Entry& entry : found.links)
        links << relative(entry);
    return code;
}

int FileCopyTask::CopyAll()
{
    CopyWork& work = JobThread<CopyWork>::Of(thread_);
    const auto total = int(work.BeginCopying(files_, symlinks_));
    int current = 0;
    int code = 0;
    // Whether the job goes on after an item.
    const auto copy = [&](bool isFile, const CopyItem& item) {
        code = abortedError;
        if (copyJob.IsAborted(abort_, "CopyAll"))
            return false;
        code = isFile ? work.CopyFile(item) : work.CopySymlink(item);
        if (code != 0)
            QVLOG_FROM("CopyAll", ERROR)
                << "Copying from '" << item.Source() << "' to '" << item.Destination()
                << "' failed with error '" << code << "'!";
        else
            Q_EMIT progress(++current, total);
        return code == 0;
    };
    for (const CopyPaths& item : std::as_const(files_)) {
        if (!copy(true, work.Given(item)))
            return code;
    }
    for (CopyTree& tree : work.trees) {
        for (const Tree::Entry& file : tree.files) {
            if (!copy(true, work.Found(tree, file)))
                return code;
        }
        tree.Close();
    }
    // A link that was added as a file, too, is copied as a file both times.
    const QSet<CopyPaths> given(files_.cbegin(), files_.cend());
    for (const CopyPaths& item : std::as_const(symlinks_)) {
        const bool isFile = given.contains(item) ||
                            (!IsLink(item.first) && // as a found file never is
                             std::any_of(work.trees.cbegin(), work.trees.cend(),
                                         [&](const CopyTree& tree) { return tree.HasFile(item); }));
        if (!copy(isFile, work.Given(item)))
            return code;
    }
    for (CopyTree& tree : work.trees) {
        for (const Tree::Entry& link : tree.links) {
            const CopyPaths item = given.isEmpty()
                                       ? CopyPaths()
                                       : CopyPaths(tree.SourceOf(link), tree.DestinationOf(link));
            const bool isFile = given.contains(item);
            if (!copy(isFile, isFile ? work.Given(item) : work.Found(tree, link)))
                return code;
        }
        tree.Close();
    }
    return work.FinishCopying();
}

int FileCopyTask::CopyFile(const QString& source, const QString& destination)
{
    const CopyPaths item(source, destination);
    CopyWork& work = JobThread<CopyWork>::Of(thread_);
    return work.CopyFile(work.Given(item));
}

int FileCopyTask::CopySymlink(const QString& source, const QString& destination)
{
    const CopyPaths item(source, destination);
    CopyWork& work = JobThread<CopyWork>::Of(thread_);
    return work.CopySymlink(work.Given(item));
}

int FileCopyTask::BeforeCopy(const QString& source, const QString& destination)
{
    if (!Exists(source))
        return ReportMissing(source);
    const CopyPaths item(source, destination);
    const int code = CopyWork::MakeParent(JobThread<CopyWork>::Of(thread_).Given(item));
    if (code != 0 || !Exists(destination))
        return code;
    return MakeRoom(destination, [&] {
        QFile file(destination);
        return FileCommands::RemoveFile(file);
    });
}

} // namespace common
