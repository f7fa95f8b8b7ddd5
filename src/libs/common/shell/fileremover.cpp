#include "common/shell/fileremover.h"

#include "common/logger/log.h"
#include "common/shell/filecommands.h"
#include "common/shell/fileidentity_p.h"
#include "common/shell/jobrelay_p.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>

namespace common {

namespace {

constexpr logger::ICategory logCategory{"shell.fileremove"};
constexpr char logSource[] = "src/libs/common/shell/fileremover";

constexpr int abortedError = 700202;
constexpr int directoryError = 700203;
constexpr int fileError = 700204;
constexpr int noThreadError = 700205;

// Hidden entries are left alone on purpose.
constexpr QDir::Filters listed = QDir::Dirs | QDir::Files | QDir::System | QDir::NoDotAndDotDot;

QStringList Below(const QString& root, const QStringList& found)
{
    QStringList paths;
    for (const QString& path : found)
        paths << root + QDir::separator() + QDir::toNativeSeparators(path);
    return paths;
}

} // namespace

FileRemover::FileRemover() = default;

FileRemover::~FileRemover()
{
    Abort(true);
}

void FileRemover::AddFile(const QString& filePath)
{
    files_ << QDir::toNativeSeparators(filePath);
}

void FileRemover::AddDirectory(const QString& dirPath)
{
    directories_ << QDir::toNativeSeparators(dirPath);
}

bool FileRemover::Remove()
{
    QVLOG(DEBUG) << "Remove";
    if (relay_)
        relay_->Drop();
    Abort(true);

    auto* task = new FileRemoveTask(files_, directories_);
    relay_ = new JobRelay(task, this);
    task_ = task;
    task->Remove();
    return true;
}

void FileRemover::Abort(bool force)
{
    if (!task_)
        return;
    task_->Abort(force);
    task_->deleteLater();
    task_.clear();
}

FileRemoveTask::FileRemoveTask(const QStringList& files, const QStringList& directories)
    : files_(files), directories_(directories), thread_(new QThread)
{
    connect(thread_.data(), &QThread::started, this, &FileRemoveTask::run, Qt::DirectConnection);
    connect(thread_.data(), &QThread::finished, this, &FileRemoveTask::deleteLater,
            Qt::QueuedConnection);
}

FileRemoveTask::~FileRemoveTask()
{
    Abort(true);
}

void FileRemoveTask::Remove()
{
    abort_.storeRelaxed(0);
    if (thread_) {
        thread_->start(QThread::InheritPriority);
        if (thread_->isRunning() || thread_->isFinished())
            return;
    }
    const auto text = QStringLiteral("Thread variable is NULL!");
    QVLOG(ERROR) << text;
    Q_EMIT failed(noThreadError, text);
}

void FileRemoveTask::Abort(bool force)
{
    if (force)
        abort_.storeRelaxed(1);
    if (!thread_)
        return;

    const bool running = thread_->isRunning();
    if (running)
        QVLOG(DEBUG) << "Waiting for the completion of the remover thread...";
    thread_->wait(); // a thread that is just finishing does not count as running
    if (running)
        QVLOG(DEBUG) << "Wait finished!";
}

void FileRemoveTask::run()
{
    QElapsedTimer timer;
    timer.start();
    int code = Scan();
    if (code == 0)
        code = RemoveAll();

    if (code == 0) {
        QVLOG(INFO) << "Removing finished in " << timer.elapsed() << " msec.";
        Q_EMIT succesed();
    } else {
        const QString text = QStringLiteral("Removing failed with error '%1'!").arg(code);
        QVLOG(ERROR) << text;
        Q_EMIT failed(code, text);
    }
    QThread::currentThread()->quit();
}

bool FileRemoveTask::IsAborted(const char* function) const
{
    if (abort_.loadRelaxed() == 0)
        return false;
    QVLOG_FROM(function, DEBUG) << "user abort detected!";
    return true;
}

int FileRemoveTask::Scan()
{
    QVLOG(DEBUG) << "Start scanning directories...";
    const QStringList trees = directories_;
    QStringList found;
    for (const QString& tree : trees) {
        if (IsAborted(__func__))
            return abortedError;
        if (IsLink(tree))
            continue; // removed as a link: what it points to is not ours
        QStringList files;
        QStringList directories;
        const QString root = RealPath(tree);
        const int code = ScanPath(root, root, files, directories);
        if (code != 0) {
            QVLOG(ERROR) << "Scanning directory '" << tree << "' failed with error '" << code
                         << "'!";
            return code;
        }
        files_ << Below(tree, files);
        found << Below(tree, directories);
    }
    // Found parents first: turned around, every directory comes after what it holds.
    std::reverse(found.begin(), found.end());
    directories_ = found + trees;
    QVLOG(DEBUG) << "Directories scanning finished.";
    return 0;
}

int FileRemoveTask::ScanPath(const QString& root, const QString& path, QStringList& files,
                             QStringList& directories)
{
    const QDir directory(path);
    if (path.isEmpty() || !directory.exists()) { // an empty QDir is the current directory
        QVLOG(WARN) << "Path '" << path << "' doesn't exists!";
        return 0;
    }

    const QFileInfoList entries = directory.entryInfoList(listed, QDir::NoSort);
    for (const QFileInfo& entry : entries) {
        if (IsAborted(__func__))
            return abortedError;
        const QString entryPath = entry.absoluteFilePath();
        const QString relative = RelativePath(root, entryPath);
        if (entry.isSymLink() || !entry.isDir()) {
            QVLOG(DEBUG) << "Found file: '" << relative << "'.";
            files << relative;
            continue;
        }
        QVLOG(DEBUG) << "Found directory: '" << relative << "'.";
        directories << relative;
        const int code = ScanPath(root, entryPath, files, directories);
        if (code != 0)
            return code;
    }
    return 0;
}

int FileRemoveTask::RemoveAll()
{
    const int total = files_.size() + directories_.size();
    int current = 0;
    for (const QString& path : qAsConst(files_)) {
        if (IsAborted(__func__))
            return abortedError;
        const int code = RemoveFile(path);
        if (code != 0) {
            QVLOG(ERROR) << "Removing file '" << path << "' failed with error '" << code << "'!";
            return code;
        }
        Q_EMIT progress(++current, total);
    }
    for (const QString& path : qAsConst(directories_)) {
        if (IsAborted(__func__))
            return abortedError;
        const int code = RemoveDirectory(path);
        if (code != 0) {
            QVLOG(ERROR) << "Removing directory '" << path << "' failed with error '" << code
                         << "'!";
            return code;
        }
        Q_EMIT progress(++current, total);
    }
    return 0;
}

int FileRemoveTask::RemoveFile(const QString& path)
{
    const QFileInfo info(path);
    if (!info.isSymLink() && !info.exists()) {
        QVLOG(WARN) << "File '" << path << "' doesn't exist!";
        return 0;
    }
    QFile file(path);
    if (FileCommands::RemoveFile(file)) {
        QVLOG(DEBUG) << "Successfully removed file '" << path << '\'';
        return 0;
    }
    QVLOG(ERROR) << "Cannot remove file '" << path << "'!";
    return fileError;
}

int FileRemoveTask::RemoveDirectory(const QString& path)
{
    if (IsLink(path))
        return RemoveFile(WithoutTrailingSeparators(path));
    if (path.isEmpty() || !QDir(path).exists()) {
        QVLOG(WARN) << "Directory '" << path << "' doesn't exist!";
        return 0;
    }
    QDir directory = QDir::current(); // a relative path is relative to this one, not to itself
    if (FileCommands::RemoveDirectory(directory, WithoutTrailingSeparators(path))) {
        QVLOG(DEBUG) << "Successfully removed directory '" << path << '\'';
        return 0;
    }
    QVLOG(ERROR) << "Cannot remove directory '" << path << "'!";
    return directoryError;
}

} // namespace common
