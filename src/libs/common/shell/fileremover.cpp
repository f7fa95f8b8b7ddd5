#include "common/shell/fileremover.h"

#include "common/shell/filejob_p.h"
#include "common/shell/paths_p.h"
#include "common/shell/removal_p.h"
#include "common/shell/treewalk_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <deque>
#include <utility>

namespace common {

namespace {

constexpr int abortedError = 700202;
constexpr int directoryError = 700203;
constexpr int fileError = 700204;
constexpr int noThreadError = 700205;

constexpr FileJob job = {
    {"shell.fileremove"}, "src/libs/common/shell/fileremover", "Remove", "Removing", "remover",
    noThreadError};
constexpr const logger::ICategory& logCategory = job.logCategory;
constexpr const char* logSource = job.logSource;

using Work = std::deque<RemovalTree>;

// What is told of a kind of entries.
struct EntryKind
{
    const char* step;
    const char* title;
    const char* noun;
    int error;
    QString (*failure)(const QString& path); // of an attempt
};

constexpr EntryKind fileKind = {"RemoveFile", "File", "file", fileError, &FailedToRemoveFile};
constexpr EntryKind directoryKind = {
    "RemoveDirectory", "Directory", "directory", directoryError, [](const QString& path) {
        return FailedToRemoveDirectory(WithoutTrailingSeparators(path));
    }};

// The attempts to remove an entry, and what is told in the end. The path is asked for when it is told.
template <typename Attempt, typename Path>
int RemoveEntry(const EntryKind& kind, Attempt attempt, Path path)
{
    Removal removal = Removal::Failed;
    const auto isOver = [&] {
        removal = attempt();
        return removal != Removal::Failed;
    };
    job.Try(kind.step, isOver, [&] { return kind.failure(path()); });
    if (removal == Removal::Failed) {
        QVLOG_FROM(kind.step, ERROR) << "Cannot remove " << kind.noun << " '" << path() << "'!";
        return kind.error;
    }
    if (removal == Removal::Missing)
        QVLOG_FROM(kind.step, WARN) << kind.title << " '" << path() << "' doesn't exist!";
    else
        QVLOG_FROM(kind.step, DEBUG)
            << "Successfully removed " << kind.noun << " '" << path() << '\'';
    return 0;
}

const EntryKind& KindOf(const RemovalTree::Item& item)
{
    return item.directory ? directoryKind : fileKind;
}

int RemoveFound(RemovalTree& tree, const RemovalTree::Item& item)
{
    return RemoveEntry(
        KindOf(item), [&] { return tree.Remove(item); }, [&] { return tree.PathOf(item); });
}

// Finds what is in the tree.
int List(RemovalTree& tree, const QAtomicInt& abort)
{
    if (!QFileInfo(tree.path).isDir()) {
        QVLOG_FROM("ScanPath", WARN) << "Path '" << tree.path << "' doesn't exists!";
        return 0;
    }
    if (!QFileInfo(tree.path).isNativePath())
        return 0;
    TreeWalk walk(tree.names, tree.directories, tree.path, TreeWalk::Everything);
    for (auto step = walk.Next(); step != TreeWalk::End; step = walk.Next()) {
        if (step == TreeWalk::Left)
            continue;
        if (job.IsAborted(abort, "ScanPath"))
            return abortedError;
        const bool isDirectory = walk.Kind() == Tree::DirectoryKind;
        QVLOG_FROM("ScanPath", DEBUG) << (isDirectory ? "Found directory: '" : "Found file: '")
                                      << tree.names.Path(walk.Entry()) << "'.";
        if (!isDirectory)
            tree.files.push_back(walk.Entry());
    }
    tree.directories.Close();
    return 0;
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
    job.Prepare(this, task_, relay_, files_, directories_);
    task_->Remove();
    return true;
}

void FileRemover::Abort(bool force)
{
    FileJob::End(task_, force);
}

FileRemoveTask::FileRemoveTask(const QStringList& files, const QStringList& directories)
    : files_(files), directories_(directories), thread_(new JobThread<Work>(this))
{
}

FileRemoveTask::~FileRemoveTask()
{
    Abort(true);
}

void FileRemoveTask::Remove()
{
    abort_.storeRelaxed(0);
    job.StartThread(this, thread_.data());
}

void FileRemoveTask::Abort(bool force)
{
    if (force)
        abort_.storeRelaxed(1);
    job.Await(thread_.data());
}

void FileRemoveTask::run()
{
    job.Run(this, [this] {
        const int code = Scan();
        return code == 0 ? RemoveAll() : code;
    });
}

int FileRemoveTask::Scan()
{
    QVLOG(DEBUG) << "Start scanning directories...";
    Work& work = JobThread<Work>::Of(thread_);
    work.clear();
    for (const QString& path : std::as_const(directories_)) {
        if (job.IsAborted(abort_, __func__))
            return abortedError;
        RemovalTree& tree = work.emplace_back(path);
        if (IsLink(path))
            continue; // removed as a link: what it leads to is not ours
        const int code = List(tree, abort_);
        if (code != 0) {
            QVLOG(ERROR) << "Scanning directory '" << path << "' failed with error '" << code
                         << "'!";
            return code;
        }
    }
    QVLOG(DEBUG) << "Directories scanning finished.";
    return 0;
}

int FileRemoveTask::ScanPath(const QString& root, const QString& path, QStringList& files,
                             QStringList& directories)
{
    RemovalTree tree(path, OpenDirectories::FollowRoot);
    const int code = List(tree, abort_);
    const auto relative = [&](const RemovalTree::Item& item) {
        return QDir(root).relativeFilePath(QFileInfo(tree.PathOf(item)).absoluteFilePath());
    };
    for (const Tree::Entry& file : tree.files)
        files << relative({file, {}});
    for (Tree::Directory directory = 1; directory < tree.names.DirectoryCount(); ++directory)
        directories << relative(tree.At(directory));
    return code;
}

int FileRemoveTask::RemoveAll()
{
    Work& work = JobThread<Work>::Of(thread_);
    int total = int(files_.size() + directories_.size());
    for (const RemovalTree& tree : work)
        total += int(tree.files.size() + tree.names.DirectoryCount()) - 1;
    int current = 0;
    int code = 0;

    // Whether the job goes on after the removal of an entry.
    const auto remove = [&](const EntryKind& kind, const auto& step, const auto& path) {
        code = job.IsAborted(abort_, "RemoveAll") ? abortedError : step();
        if (code == 0)
            Q_EMIT progress(++current, total);
        else if (code != abortedError)
            QVLOG_FROM("RemoveAll", ERROR) << "Removing " << kind.noun << " '" << path()
                                           << "' failed with error '" << code << "'!";
        return code == 0;
    };
    const auto removeFound = [&](RemovalTree& tree, const RemovalTree::Item& item) {
        return remove(
            KindOf(item), [&] { return RemoveFound(tree, item); },
            [&] { return tree.PathOf(item); });
    };
    for (const QString& file : std::as_const(files_)) {
        if (!remove(
                fileKind, [&] { return RemoveFile(file); }, [&] { return file; }))
            return code;
    }
    for (RemovalTree& tree : work) {
        for (const Tree::Entry& file : tree.files) {
            if (!removeFound(tree, {file, {}}))
                return code;
        }
        tree.directories.Close();
    }
    // Found parents first: from the last to the first, every directory comes after what it holds.
    for (auto tree = work.rbegin(); tree != work.rend(); ++tree) {
        for (Tree::Directory left = tree->names.DirectoryCount() - 1; left > 0; --left) {
            if (!removeFound(*tree, tree->At(left)))
                return code;
        }
        tree->directories.Close();
    }
    for (int i = 0; i < directories_.size(); ++i) {
        const auto step = [&] {
            const bool wasFound =
                size_t(i) < work.size() && work[size_t(i)].directories.Seen(Tree::root).IsKnown();
            return wasFound ? RemoveFound(work[size_t(i)], work[size_t(i)].At(Tree::root))
                            : RemoveDirectory(directories_[i]);
        };
        if (!remove(directoryKind, step, [&] { return directories_[i]; }))
            return code;
    }
    return 0;
}

int FileRemoveTask::RemoveFile(const QString& path)
{
    const auto attempt = [&] {
        const QFileInfo info(path);
        if (!info.isSymLink() && !info.exists())
            return Removal::Missing;
        return QFile::remove(path) ? Removal::Done : Removal::Failed;
    };
    return RemoveEntry(fileKind, attempt, [&] { return path; });
}

int FileRemoveTask::RemoveDirectory(const QString& path)
{
    const QString place = WithoutTrailingSeparators(path);
    if (IsLink(path))
        return RemoveFile(place);
    const auto attempt = [&] {
        if (path.isEmpty() || !QDir(path).exists()) // an empty QDir is the current directory
            return Removal::Missing;
        return QDir().rmdir(place) ? Removal::Done : Removal::Failed;
    };
    return RemoveEntry(directoryKind, attempt, [&] { return path; });
}

} // namespace common
