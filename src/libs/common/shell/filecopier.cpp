#include "common/shell/filecopier.h"

#include "common/logger/log.h"
#include "common/shell/filecommands.h"
#include "common/shell/fileidentity_p.h"
#include "common/shell/jobrelay_p.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <utility>

namespace common {

namespace {

using Item = QPair<QString, QString>;

constexpr logger::ICategory logCategory{"shell.filecopy"};
constexpr char logSource[] = "src/libs/common/shell/filecopier";

constexpr int noDirectoryError = 700102;
constexpr int noFileError = 700103;
constexpr int createDirectoryError = 700104;
constexpr int abortedError = 700105;
constexpr int removeError = 700106;
constexpr int copyError = 700107;
constexpr int noThreadError = 700108;

// Hidden entries are left out on purpose.
constexpr QDir::Filters listed = QDir::Dirs | QDir::Files | QDir::System | QDir::NoDotAndDotDot;

Item NativeItem(const QString& source, const QString& destination)
{
    return {QDir::toNativeSeparators(source), QDir::toNativeSeparators(destination)};
}

// Appends what was found below one tree's source as items with their places below its destination.
void AppendFound(QList<Item>& items, const Item& tree, const QStringList& found)
{
    for (const QString& path : found) {
        const QString below = QDir::separator() + QDir::toNativeSeparators(path);
        items << Item(tree.first + below, tree.second + below);
    }
}

QString CleanPath(const QString& path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

// The sources that a copy could overwrite: all of them if a tree is copied into itself.
QSet<QString> SourcesInReach(const QList<Item>& trees, const QList<Item>& items)
{
    QSet<QString> sources;
    const bool inReach = std::any_of(trees.cbegin(), trees.cend(), [](const Item& tree) {
        return CleanPath(tree.second).startsWith(CleanPath(tree.first) + QLatin1Char('/'));
    });
    if (inReach) {
        for (const Item& item : items)
            sources << CleanPath(item.first);
    }
    return sources;
}

// The steps of BeforeCopy.

int ReportMissing(const QString& source)
{
    QVLOG_FROM("BeforeCopy", ERROR) << "Source file '" << source << "' doesn't exist!";
    return noFileError;
}

int MakeParent(const QString& destination)
{
    const QFileInfo info(destination);
    if (!destination.isEmpty()) {
        if (IsDirectory(info.path()))
            return 0;
        QDir directory(info.absolutePath());
        if (FileCommands::CreateDirectory(directory, directory.path()))
            return 0;
    }
    QVLOG_FROM("BeforeCopy", ERROR) << "Cannot create path to '" << destination << '\'';
    return createDirectoryError;
}

int RemoveExisting(const QString& destination)
{
    QVLOG_FROM("BeforeCopy", WARN)
        << '\'' << destination << "' already exists. Trying to remove before coping...";
    QFile file(destination);
    if (FileCommands::RemoveFile(file))
        return 0;
    QVLOG_FROM("BeforeCopy", ERROR) << "Cannot remove '" << destination << "'!";
    return removeError;
}

// A link's target relative to the link. Asked on the absolute path: on a relative one Qt doubles
// the prefix of links to directories.
QString RelativeTarget(const QString& link)
{
    const QFileInfo absolute(QFileInfo(link).absoluteFilePath());
    return QDir(absolute.absolutePath()).relativeFilePath(absolute.symLinkTarget());
}

} // namespace

FileCopier::FileCopier() = default;

FileCopier::~FileCopier()
{
    Abort(true);
}

void FileCopier::AddFile(const QString& fileSourcePath, const QString& fileDestPath)
{
    files_ << NativeItem(fileSourcePath, fileDestPath);
}

void FileCopier::AddSymlink(const QString& fileSourcePath, const QString& fileDestPath)
{
    symlinks_ << NativeItem(fileSourcePath, fileDestPath);
}

void FileCopier::AddDirectory(const QString& dirSourcePath, const QString& dirDestPath)
{
    directories_ << NativeItem(dirSourcePath, dirDestPath);
}

bool FileCopier::Copy()
{
    QVLOG(DEBUG) << "Copy";
    if (relay_)
        relay_->Drop();
    Abort(true);

    auto* task = new FileCopyTask(files_, directories_, symlinks_);
    relay_ = new JobRelay(task, this);
    task_ = task;
    task->Copy();
    return true;
}

void FileCopier::Abort(bool force)
{
    if (!task_)
        return;
    task_->Abort(force);
    task_->deleteLater();
    task_.clear();
}

FileCopyTask::FileCopyTask(const QList<Item>& files, QList<Item> directories, QList<Item> symlinks)
    : files_(files),
      symlinks_(std::move(symlinks)),
      directories_(std::move(directories)),
      thread_(new QThread)
{
    connect(thread_.data(), &QThread::started, this, &FileCopyTask::run, Qt::DirectConnection);
    connect(thread_.data(), &QThread::finished, this, &FileCopyTask::deleteLater,
            Qt::QueuedConnection);
}

FileCopyTask::~FileCopyTask()
{
    Abort(true);
}

void FileCopyTask::Copy()
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

void FileCopyTask::Abort(bool force)
{
    if (force)
        abort_.storeRelaxed(1);
    if (!thread_)
        return;

    const bool running = thread_->isRunning();
    if (running)
        QVLOG(DEBUG) << "Waiting for the completion of the copier thread...";
    thread_->wait(); // a thread that is just finishing does not count as running
    if (running)
        QVLOG(DEBUG) << "Wait finished!";
}

void FileCopyTask::run()
{
    QElapsedTimer timer;
    timer.start();
    int code = Scan();
    if (code == 0)
        code = CopyAll();

    if (code == 0) {
        QVLOG(INFO) << "Copying finished in " << timer.elapsed() << " msec.";
        Q_EMIT succesed();
    } else {
        const QString text = QStringLiteral("Copying failed with error '%1'!").arg(code);
        QVLOG(ERROR) << text;
        Q_EMIT failed(code, text);
    }
    QThread::currentThread()->quit();
}

bool FileCopyTask::IsAborted(const char* function) const
{
    if (abort_.loadRelaxed() == 0)
        return false;
    QVLOG_FROM(function, DEBUG) << "user abort detected!";
    return true;
}

int FileCopyTask::Scan()
{
    QVLOG(DEBUG) << "Start scanning directories...";
    for (const Item& tree : qAsConst(directories_)) {
        if (IsAborted(__func__))
            return abortedError;
        QStringList files;
        QStringList links;
        if (tree.second.isEmpty()) {
            QVLOG(ERROR) << "Cannot create path to ''";
            return createDirectoryError;
        }
        const QString root = RealPath(tree.first);
        const int code = ScanPath(root, root, files, links);
        if (code != 0) {
            QVLOG(ERROR) << "Scanning directory '" << tree.first << "' failed with error '" << code
                         << "'!";
            return code;
        }
        AppendFound(files_, tree, files);
        AppendFound(symlinks_, tree, links);
    }
    QVLOG(DEBUG) << "Directories scanning finished.";
    return 0;
}

int FileCopyTask::ScanPath(const QString& root, const QString& path, QStringList& files,
                           QStringList& links)
{
    const QDir directory(path);
    if (path.isEmpty() || !directory.exists()) { // an empty QDir is the current directory
        QVLOG(WARN) << "Path '" << path << "' doesn't exists!";
        return noDirectoryError;
    }

    const QFileInfoList entries = directory.entryInfoList(listed, QDir::NoSort);
    for (const QFileInfo& entry : entries) {
        if (IsAborted(__func__))
            return abortedError;
        const QString entryPath = entry.absoluteFilePath();
        if (!entry.isSymLink() && entry.isDir()) {
            const int code = ScanPath(root, entryPath, files, links);
            if (code != 0)
                return code;
            continue;
        }
        const QString relative = RelativePath(root, entryPath);
        QVLOG(DEBUG) << (entry.isSymLink() ? "Found symlink: '" : "Found file: '") << relative
                     << "'.";
        (entry.isSymLink() ? links : files) << relative;
    }
    return 0;
}

int FileCopyTask::CopyAll()
{
    const QList<Item> items = files_ + symlinks_;
    // A link that was added as a file, too, is copied as a file both times.
    const QSet<Item> alsoFiles =
        symlinks_.isEmpty() ? QSet<Item>() : QSet<Item>(files_.cbegin(), files_.cend());
    const QSet<QString> sourcesInReach = SourcesInReach(directories_, items);
    for (int i = 0; i < items.size(); ++i) {
        if (IsAborted(__func__))
            return abortedError;
        const auto& [source, destination] = items[i];
        const bool isFile = i < files_.size() || alsoFiles.contains(items[i]);
        int code = copyError;
        if (sourcesInReach.isEmpty() || !sourcesInReach.contains(CleanPath(destination)))
            code = isFile ? CopyFile(source, destination) : CopySymlink(source, destination);
        if (code != 0) {
            QVLOG(ERROR) << "Copying from '" << source << "' to '" << destination
                         << "' failed with error '" << code << "'!";
            return code;
        }
        Q_EMIT progress(i + 1, items.size());
    }
    return 0;
}

int FileCopyTask::CopyFile(const QString& source, const QString& destination)
{
    const bool readable = IsReadableFile(source);
    if (!readable && !Exists(source))
        return ReportMissing(source);
    const bool replaces = Exists(destination);
    // Neither of these may get as far as removing the destination or opening the source.
    const bool losesSource =
        replaces && (IsSameFile(source, destination) || IsLinkInPath(source, destination));
    if (readable && !losesSource) {
        int code = MakeParent(destination);
        if (code == 0 && replaces)
            code = RemoveExisting(destination);
        if (code != 0)
            return code;
        QFile file(source);
        if (FileCommands::CopyFile(file, destination)) {
            QVLOG(DEBUG) << "Successfully copied from '" << source << "' to '" << destination
                         << '\'';
            return 0;
        }
    }
    QVLOG(ERROR) << "Cannot copy from '" << source << "' to '" << destination << '\'';
    return copyError;
}

int FileCopyTask::CopySymlink(const QString& source, const QString& destination)
{
    const QString target = RelativeTarget(source);
    const bool missing = !Exists(source); // BeforeCopy tells
    const bool copyable = missing || IsCopyableLink(source);
    if (copyable && !IsOnTheWayOfLink(source, destination) && !IsLinkInPath(source, destination)) {
        const int code = BeforeCopy(source, destination);
        if (code != 0)
            return code;
        if (FileCommands::CreateSymlink(target, destination)) {
            QVLOG(DEBUG) << "Successfully copied link from '" << source << "' to '" << destination
                         << "' -> '" << target << "'.";
            return 0;
        }
    }
    QVLOG(ERROR) << "Cannot copy link from '" << source << "' to '" << destination << "' -> '"
                 << target << "'.";
    return copyError;
}

int FileCopyTask::BeforeCopy(const QString& source, const QString& destination)
{
    if (!Exists(source))
        return ReportMissing(source);
    const int code = MakeParent(destination);
    return code == 0 && Exists(destination) ? RemoveExisting(destination) : code;
}

} // namespace common
