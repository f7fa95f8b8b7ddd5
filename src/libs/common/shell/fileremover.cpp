#include "common/shell/fileremover.h"

#include "common/shell/filecommands_p.h"
#include "common/shell/filejob_p.h"
#include "common/shell/paths_p.h"
#include "common/shell/removal_p.h"
#include "common/shell/treewalk_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <deque>

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

// A tree to be removed.
struct FoundTree
{
    FoundTree(const QString& given, OpenDirectories::Rule rule)
        : path(given), directories(tree, QFile::encodeName(RealPlace(given)), rule)
    {
    }

    QString PathOf(const Tree::Entry& entry) const
    {
        return path + QDir::separator() + tree.Path(entry);
    }

    QString path;
    Tree tree;
    OpenDirectories directories;
    std::vector<Tree::Entry> files;
};

using Work = std::deque<FoundTree>;

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
    Retry(kind.step, isOver, [&] { return kind.failure(path()); });
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

int RemoveFound(FoundTree& found, const Tree::Entry& file)
{
    return RemoveEntry(
        fileKind, [&] { return RemoveFileFrom(found.directories, file); },
        [&] { return found.PathOf(file); });
}

int RemoveFound(FoundTree& found, Tree::Directory directory)
{
    return RemoveEntry(
        directoryKind, [&] { return RemoveDirectoryFrom(found.directories, directory); },
        [&] {
            return directory == Tree::root ? found.path
                                           : found.PathOf(found.tree.AsEntry(directory));
        });
}

// Finds what is in the tree.
int List(FoundTree& found, const QAtomicInt& abort)
{
    if (!IsTree(found.path)) {
        QVLOG_FROM("ScanPath", WARN) << "Path '" << found.path << "' doesn't exists!";
        return 0;
    }
    if (!QFileInfo(found.path).isNativePath())
        return 0;
    TreeWalk walk(found.tree, found.directories, found.path, TreeWalk::Everything);
    for (;;) {
        const TreeWalk::Step step = walk.Next();
        if (step == TreeWalk::End)
            break;
        if (step == TreeWalk::Left)
            continue;
        if (job.IsAborted(abort, "ScanPath"))
            return abortedError;
        const bool isDirectory = walk.Kind() == Tree::DirectoryKind;
        QVLOG_FROM("ScanPath", DEBUG) << (isDirectory ? "Found directory: '" : "Found file: '")
                                      << found.tree.Path(walk.Entry()) << "'.";
        if (!isDirectory)
            found.files.push_back(walk.Entry());
    }
    found.directories.Close();
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
    : files_(files), directories_(directories), thread_(new JobThread<Work>)
{
    FileJob::Connect(this, thread_.data());
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
    for (const QString& path : qAsConst(directories_)) {
        if (job.IsAborted(abort_, __func__))
            return abortedError;
        FoundTree& found = work.emplace_back(path, OpenDirectories::FollowNothing);
        if (IsLink(path))
            continue; // removed as a link: what it leads to is not ours
        const int code = List(found, abort_);
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
    FoundTree found(path, OpenDirectories::FollowRoot);
    const int code = List(found, abort_);
    const auto relative = [&](const Tree::Entry& entry) {
        return QDir(root).relativeFilePath(QFileInfo(found.PathOf(entry)).absoluteFilePath());
    };
    for (const Tree::Entry& file : found.files)
        files << relative(file);
    for (Tree::Directory directory = 1; directory < found.tree.DirectoryCount(); ++directory)
        directories << relative(found.tree.AsEntry(directory));
    return code;
}

int FileRemoveTask::RemoveAll()
{
    Work& work = JobThread<Work>::Of(thread_);
    int total = files_.size() + directories_.size();
    for (const FoundTree& found : work)
        total += int(found.files.size() + found.tree.DirectoryCount()) - 1;
    int current = 0;

    // Whether the job goes on after the removal of an entry.
    const auto next = [&](const EntryKind& kind, const auto& remove, const auto& path) {
        if (job.IsAborted(abort_, "RemoveAll"))
            return abortedError;
        const int code = remove();
        if (code != 0)
            QVLOG_FROM("RemoveAll", ERROR) << "Removing " << kind.noun << " '" << path()
                                           << "' failed with error '" << code << "'!";
        else
            Q_EMIT progress(++current, total);
        return code;
    };
    int code = 0;
    for (int i = 0; i < files_.size() && code == 0; ++i)
        code = next(
            fileKind, [&] { return RemoveFile(files_[i]); }, [&] { return files_[i]; });
    for (auto found = work.begin(); found != work.end() && code == 0; ++found) {
        for (size_t i = 0; i < found->files.size() && code == 0; ++i) {
            const Tree::Entry& file = found->files[i];
            code = next(
                fileKind, [&] { return RemoveFound(*found, file); },
                [&] { return found->PathOf(file); });
        }
        found->directories.Close();
    }
    // Found parents first: from the last to the first, every directory comes after what it holds.
    for (auto found = work.rbegin(); found != work.rend() && code == 0; ++found) {
        for (Tree::Directory left = found->tree.DirectoryCount() - 1; left > 0 && code == 0; --left)
            code = next(
                directoryKind, [&] { return RemoveFound(*found, left); },
                [&] { return found->PathOf(found->tree.AsEntry(left)); });
        found->directories.Close();
    }
    for (int i = 0; i < directories_.size() && code == 0; ++i) {
        const auto remove = [&] {
            const bool wasFound =
                size_t(i) < work.size() && work[size_t(i)].directories.Seen(Tree::root).IsKnown();
            return wasFound ? RemoveFound(work[size_t(i)], Tree::root)
                            : RemoveDirectory(directories_[i]);
        };
        code = next(directoryKind, remove, [&] { return directories_[i]; });
    }
    return code;
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
