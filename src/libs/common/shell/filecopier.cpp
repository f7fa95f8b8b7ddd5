#include "common/shell/filecopier.h"

#include "common/shell/copysource_p.h"
#include "common/shell/diskflush_p.h"
#include "common/shell/filecommands.h"
#include "common/shell/filecommands_p.h"
#include "common/shell/filejob_p.h"
#include "common/shell/newfile_p.h"
#include "common/shell/paths_p.h"
#include "common/shell/treewalk_p.h"

#include <QDir>
#include <QFileInfo>
#include <QMetaMethod>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <tuple>
#include <utility>

#include <fcntl.h>

namespace common {

namespace {

using Pair = QPair<QString, QString>;

constexpr int noDirectoryError = 700102;
constexpr int noFileError = 700103;
constexpr int createDirectoryError = 700104;
constexpr int abortedError = 700105;
constexpr int removeError = 700106;
constexpr int copyError = 700107;
constexpr int noThreadError = 700108;

constexpr FileJob job = {
    {"shell.filecopy"}, "src/libs/common/shell/filecopier", "Copy", "Copying", "copier",
    noThreadError};
constexpr const logger::ICategory& logCategory = job.logCategory;
constexpr const char* logSource = job.logSource;

Pair NativePair(const QString& source, const QString& destination)
{
    return {QDir::toNativeSeparators(source), QDir::toNativeSeparators(destination)};
}

QString CleanPath(const QString& path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

QByteArray AbsoluteName(const QString& path)
{
    const QFileInfo info(path);
    return QFile::encodeName(info.isAbsolute() ? info.filePath()
                                               : QDir::currentPath() + '/' + info.filePath());
}

// A tree to be copied: its source and destination, and what was found.
struct FoundTree
{
    explicit FoundTree(const Pair& tree)
        : given(tree),
          from(names, AbsoluteName(tree.first), OpenDirectories::FollowRoot),
          to(names, AbsoluteName(tree.second), OpenDirectories::MakeMissing),
          isNative(QFileInfo(tree.first).isNativePath())
    {
    }

    QString SourceOf(const Tree::Entry& entry) const
    {
        return given.first + QDir::separator() + names.Path(entry);
    }
    QString DestinationOf(const Tree::Entry& entry) const
    {
        return given.second + QDir::separator() + names.Path(entry);
    }
    bool IsIntoItself() const
    {
        return CleanPath(given.second).startsWith(CleanPath(given.first) + QLatin1Char('/'));
    }
    bool HasFile(const Pair& item) const
    {
        const QByteArray name = QFile::encodeName(item.first.section(QLatin1Char('/'), -1));
        return item.first.startsWith(given.first) &&
               std::any_of(files.cbegin(), files.cend(), [&](const Tree::Entry& file) {
                   return names.Name(file.name) == name && SourceOf(file) == item.first &&
                          DestinationOf(file) == item.second;
               });
    }
    void Close()
    {
        from.Close();
        to.Close();
    }

    Pair given;
    Tree names;
    OpenDirectories from;
    OpenDirectories to;
    bool isNative;
    std::vector<Tree::Entry> files;
    std::vector<Tree::Entry> links;
};

// One file or link to be copied: an entry of a tree, or given by its paths.
struct Item
{
    CopySource::Kind kind;
    Place from;
    Place to;
    const Pair& given;
    const FoundTree* tree;
    Tree::Entry entry;

    QString Source() const { return tree ? tree->SourceOf(entry) : given.first; }
    QString Destination() const { return tree ? tree->DestinationOf(entry) : given.second; }
};

// The files and links that are copied, to be found by their places.
class Sources
{
public:
    void Add(const FoundTree& tree)
    {
        for (const auto* entries : {&tree.files, &tree.links}) {
            for (const Tree::Entry& entry : *entries)
                keys_.push_back(
                    KeyOf(tree.from.Seen(entry.directory), tree.names.Name(entry.name)));
        }
        std::sort(keys_.begin(), keys_.end(), &IsLess);
    }
    bool Contain(const Place& place) const
    {
        return std::binary_search(keys_.cbegin(), keys_.cend(),
                                  KeyOf(place.directories->Seen(place.directory), place.name),
                                  &IsLess);
    }

private:
    using Key = std::tuple<dev_t, ino_t, const char*>;

    static Key KeyOf(const Identity& directory, const char* name)
    {
        return {directory.device, directory.inode, name};
    }
    static bool IsLess(const Key& first, const Key& second)
    {
        const auto& [device, inode, name] = first;
        const auto& [otherDevice, otherInode, otherName] = second;
        return std::tie(device, inode) != std::tie(otherDevice, otherInode)
                   ? std::tie(device, inode) < std::tie(otherDevice, otherInode)
                   : std::strcmp(name, otherName) < 0;
    }

    std::vector<Key> keys_;
};

// What the worker does, step by step.
class CopyWork
{
public:
    CopyWork(FileCopyTask* task, const QAtomicInt& abort) : task_(task), abort_(abort) {}

    // The item with the given paths, valid until the next call.
    Item Given(const Pair& item);
    static Item Found(FoundTree& tree, const Tree::Entry& entry);

    /** For a new job, that counts bytes or not. */
    void Clear(bool countsBytes);
    int List(FoundTree& tree);
    void BeginCopying(size_t items);
    int FinishCopying();

    int CopyFile(const Item& item);
    int CopySymlink(const Item& item);
    static int MakeParent(const Item& item);

    void CountBytes(const QList<Pair>& files);

    std::deque<FoundTree> trees;

private:
    bool IsAborted(const char* function) const { return job.IsAborted(abort_, function); }
    bool LosesSource(const Item& item, const struct stat& old, bool isSame) const;
    bool CopyOnce(const Item& item, CopySource& source, NewFile::Publication publication);
    bool Report(qint64 bytes);

    FileCopyTask* task_;
    const QAtomicInt& abort_;
    GivenPlaces from_{OpenDirectories::FollowRoot};
    GivenPlaces to_{OpenDirectories::MakeMissing};
    Sources sourcesInReach_;
    DiskFlush flush_{1};
    Content content_{[this](qint64 bytes) {
        return Report(bytes);
    }};
    bool countsBytes_ = false;
    qint64 bytesDone_ = 0;
    qint64 bytesTotal_ = 0;
};

Item CopyWork::Given(const Pair& item)
{
    const QFileInfo source(item.first);
    const bool isNative = item.first.isEmpty() || source.isNativePath();
    return {isNative ? CopySource::Given : CopySource::OfQt,
            from_.At(isNative ? source.filePath() : item.first),
            to_.At(item.second),
            item,
            nullptr,
            {}};
}

Item CopyWork::Found(FoundTree& tree, const Tree::Entry& entry)
{
    const bool isFile = tree.names.KindOf(entry.name) == Tree::FileKind;
    const auto kind = !tree.isNative ? CopySource::OfQt
                      : isFile       ? CopySource::Found
                                     : CopySource::Special;
    const char* name = tree.names.Name(entry.name);
    return {kind,
            {&tree.from, entry.directory, name},
            {&tree.to, entry.directory, name},
            tree.given,
            &tree,
            entry};
}

void CopyWork::Clear(bool countsBytes)
{
    trees.clear();
    countsBytes_ = countsBytes;
    sourcesInReach_ = Sources();
    bytesDone_ = 0;
    bytesTotal_ = 0;
}

void CopyWork::CountBytes(const QList<Pair>& files)
{
    for (const Pair& file : files)
        bytesTotal_ += countsBytes_ ? QFileInfo(file.first).size() : 0;
}

qint64 SizeOf(FoundTree& tree, const Tree::Entry& file)
{
    if (!tree.isNative)
        return QFileInfo(tree.SourceOf(file)).size();
    struct stat status = {};
    fstatat(tree.from.Open(file.directory), tree.names.Name(file.name), &status,
            AT_SYMLINK_NOFOLLOW);
    return status.st_size;
}

// Finds what is in the tree.
int CopyWork::List(FoundTree& tree)
{
    const QString& path = tree.given.first;
    if (path.isEmpty() || !IsTree(path)) {
        QVLOG_FROM("ScanPath", WARN) << "Path '" << path << "' doesn't exists!";
        return noDirectoryError;
    }
    TreeWalk walk(tree.names, tree.from, path, TreeWalk::Everything);
    for (auto step = walk.Next(); step != TreeWalk::End; step = walk.Next()) {
        if (step == TreeWalk::Left)
            continue;
        if (IsAborted("ScanPath"))
            return abortedError;
        if (walk.Kind() == Tree::DirectoryKind)
            continue;
        const Tree::Entry& entry = walk.Entry();
        const bool isLink = walk.Kind() == Tree::LinkKind;
        QVLOG_FROM("ScanPath", DEBUG)
            << (isLink ? "Found symlink: '" : "Found file: '") << tree.names.Path(entry) << "'.";
        (isLink ? tree.links : tree.files).push_back(entry);
        if (walk.Kind() == Tree::FileKind && countsBytes_)
            bytesTotal_ += SizeOf(tree, entry);
    }
    tree.from.Close();
    return 0;
}

void CopyWork::BeginCopying(size_t items)
{
    flush_ = DiskFlush(items);
    const bool anyIntoItself = std::any_of(trees.cbegin(), trees.cend(),
                                           [](const auto& tree) { return tree.IsIntoItself(); });
    for (const FoundTree& tree : trees) {
        if (anyIntoItself)
            sourcesInReach_.Add(tree);
    }
}

// What is told as copied is on the disk, and where it was to be.
int CopyWork::FinishCopying()
{
    for (FoundTree& tree : trees) {
        Tree::Directory directory = Tree::root;
        const bool isSourceInPlace = tree.from.AreInPlace(true, &directory);
        if (!isSourceInPlace || !tree.to.AreInPlace(false, &directory)) {
            const Tree::Entry& entry = tree.names.AsEntry(directory);
            QVLOG_FROM("CopyAll", ERROR)
                << "Directory '"
                << (isSourceInPlace ? tree.DestinationOf(entry) : tree.SourceOf(entry))
                << "' cannot be read, or is not the one that was found!";
            return isSourceInPlace ? createDirectoryError : copyError;
        }
        tree.Close();
    }
    if (!flush_.Finish()) {
        QVLOG_FROM("CopyAll", ERROR) << "Cannot write to the disk: " << std::strerror(errno);
        return copyError;
    }
    if (bytesTotal_ > 0)
        Q_EMIT task_->bytesProgress(bytesTotal_, bytesTotal_);
    return 0;
}

int ReportMissing(const QString& source)
{
    QVLOG_FROM("BeforeCopy", ERROR) << "Source file '" << source << "' doesn't exist!";
    return noFileError;
}

int CopyWork::MakeParent(const Item& item)
{
    const auto describe = [&] {
        return FailedToCreateDirectory(QFileInfo(item.Destination()).absolutePath());
    };
    if ((item.tree || !item.given.second.isEmpty()) &&
        Retry(
            "CreateDirectory", [&] { return item.to.OpenDirectory() >= 0; }, describe))
        return 0;
    QVLOG_FROM("BeforeCopy", ERROR) << "Cannot create path to '" << item.Destination() << '\'';
    return createDirectoryError;
}

// Room for a new file or link, by the attempts of which one would do.
template <typename Attempt>
int MakeRoom(const QString& destination, Attempt attempt)
{
    QVLOG_FROM("BeforeCopy", WARN)
        << '\'' << destination << "' already exists. Trying to remove before coping...";
    if (attempt())
        return 0;
    QVLOG_FROM("BeforeCopy", ERROR) << "Cannot remove '" << destination << "'!";
    return removeError;
}

// Whether the destination could be removed. The kernel looks for anything against that first, and
// then finds that it is no directory.
bool IsRemovable(const Place& place)
{
    struct stat status = {};
    const int directory = place.OpenDirectory();
    if (fstatat(directory, place.name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT;
    return !S_ISDIR(status.st_mode) &&
           (unlinkat(directory, place.name, AT_REMOVEDIR) == 0 || errno == ENOTDIR);
}

int FindRoom(const Item& item)
{
    const QString destination = item.Destination();
    return MakeRoom(destination, [&] {
        return Retry(
            "RemoveFile", [&] { return IsRemovable(item.to); },
            [&] { return FailedToRemoveFile(destination); });
    });
}

bool CopyWork::LosesSource(const Item& item, const struct stat& old, bool isSame) const
{
    return isSame || sourcesInReach_.Contain(item.to) ||
           (S_ISLNK(old.st_mode) && GoesThroughLink(item.Source(), item.Destination()));
}

bool Look(const Place& place, struct stat* status)
{
    return fstatat(place.OpenDirectory(), place.name, status, AT_SYMLINK_NOFOLLOW) == 0;
}

int CopyWork::CopyFile(const Item& item)
{
    const auto fail = [&] {
        QVLOG_FROM("CopyFile", ERROR)
            << "Cannot copy from '" << item.Source() << "' to '" << item.Destination() << '\'';
        return copyError;
    };
    CopySource source(item.kind, item.from,
                      item.kind == CopySource::OfQt ? item.Source() : QString());
    CopySource::State state = source.Open();
    if (state == CopySource::Missing)
        return ReportMissing(item.Source());
    if (state == CopySource::Unfit)
        return fail();
    int code = MakeParent(item);
    if (code != 0)
        return code;
    struct stat old = {};
    // What is found in a tree has a name of its own, so its place in a new directory is free.
    const bool isFree = item.tree && item.to.directories->WasMade(item.to.directory);
    const bool replaces = !isFree && Look(item.to, &old);
    if (replaces && LosesSource(item, old, source.IsSame(item.to)))
        return fail();
    if (replaces)
        code = FindRoom(item);
    if (code != 0)
        return code;

    bool isAborted = false;
    const qint64 bytesBefore = bytesDone_;
    const auto attempt = [&] {
        if (state != CopySource::Ready)
            state = source.Open();
        const bool isCopied =
            state == CopySource::Ready &&
            CopyOnce(item, source, replaces ? NewFile::Replacement : NewFile::New);
        if (isCopied)
            return true;
        source.Close();
        state = CopySource::Failed;
        bytesDone_ = bytesBefore;
        isAborted = abort_.loadRelaxed() != 0;
        return isAborted;
    };
    const bool isOver = Retry("CopyFile", attempt,
                              [&] { return FailedToCopyFile(item.Source(), item.Destination()); });
    if (isAborted && IsAborted("CopyFile"))
        return abortedError;
    if (!isOver)
        return fail();
    QVLOG_FROM("CopyFile", DEBUG) << "Successfully copied from '" << item.Source() << "' to '"
                                  << item.Destination() << '\'';
    return 0;
}

bool CopyWork::CopyOnce(const Item& item, CopySource& source, NewFile::Publication publication)
{
    const int directory = item.to.OpenDirectory();
    NewFile file(directory, item.to.name);
    if (directory < 0 || !file.Open() || !source.CopyTo(file.Number(), content_) ||
        fchmod(file.Number(), source.Permissions()) != 0)
        return false;
    const bool isFlushed = flush_.IsForEach() || publication == NewFile::Replacement;
    if ((isFlushed && fdatasync(file.Number()) != 0) || !file.Publish(publication))
        return false;
    flush_.Remember(item.to.directories->Seen(item.to.directory), directory);
    return true;
}

bool CopyWork::Report(qint64 bytes)
{
    bytesDone_ += bytes;
    if (bytesTotal_ > 0)
        Q_EMIT task_->bytesProgress(qMin(bytesDone_, bytesTotal_), bytesTotal_);
    return abort_.loadRelaxed() == 0;
}

// The text of the link; empty, and errno, if it is none.
QByteArray ReadLink(const Place& link)
{
    const int directory = link.OpenDirectory();
    if (directory < 0)
        return {};
    QByteArray text(256, '\0');
    ssize_t length = 0;
    while ((length = readlinkat(directory, link.name, text.data(), size_t(text.size()))) ==
           text.size())
        text.resize(2 * text.size());
    text.resize(qMax<int>(int(length), 0));
    return text;
}

int CopyWork::CopySymlink(const Item& item)
{
    const QByteArray bytes = ReadLink(item.from);
    if (bytes.isEmpty() && (item.tree ? errno == ENOENT : !Exists(item.given.first)))
        return ReportMissing(item.Source());
    const QString text = QFile::decodeName(bytes);
    const QString target =
        text.isEmpty() ? text : RelativeTarget([&] { return item.Source(); }, text);
    const auto fail = [&] {
        QVLOG_FROM("CopySymlink", ERROR) << "Cannot copy link from '" << item.Source() << "' to '"
                                         << item.Destination() << "' -> '" << target << "'.";
        return copyError;
    };
    if (text.isEmpty() || QFile::encodeName(text) != bytes)
        return fail();
    int code = MakeParent(item);
    if (code != 0)
        return code;
    struct stat old = {};
    const bool replaces = Look(item.to, &old);
    if (replaces && LosesSource(item, old, LinkLeadsThrough(item.Source(), item.Destination())))
        return fail();
    if (replaces)
        code = FindRoom(item);
    if (code != 0)
        return code;
    const auto attempt = [&] {
        const int directory = item.to.OpenDirectory();
        return directory >= 0 && NewFile(directory, item.to.name)
                                     .PublishLink(QFile::encodeName(target).constData(),
                                                  replaces ? NewFile::Replacement : NewFile::New);
    };
    if (!Retry("CreateSymlink", attempt,
               [&] { return FailedToCreateLink(item.Destination(), target); }))
        return fail();
    flush_.Remember(item.to.directories->Seen(item.to.directory), item.to.OpenDirectory());
    QVLOG_FROM("CopySymlink", DEBUG)
        << "Successfully copied link from '" << item.Source() << "' to '" << item.Destination()
        << "' -> '" << target << "'.";
    return 0;
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
    job.Prepare(this, task_, relay_, files_, directories_, symlinks_);
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

FileCopyTask::FileCopyTask(const QList<Pair>& files, QList<Pair> directories, QList<Pair> symlinks)
    : files_(files),
      symlinks_(std::move(symlinks)),
      directories_(std::move(directories)),
      thread_(new JobThread<CopyWork>(this, abort_))
{
    FileJob::Connect(this, thread_.data());
}

FileCopyTask::~FileCopyTask()
{
    Abort(true);
}

void FileCopyTask::Copy()
{
    abort_.storeRelaxed(0);
    job.StartThread(this, thread_.data());
}

void FileCopyTask::Abort(bool force)
{
    if (force)
        abort_.storeRelaxed(1);
    job.Await(thread_.data());
}

void FileCopyTask::run()
{
    job.Run(this, [this] {
        const int code = Scan();
        return code == 0 ? CopyAll() : code;
    });
}

int FileCopyTask::Scan()
{
    QVLOG(DEBUG) << "Start scanning directories...";
    CopyWork& work = JobThread<CopyWork>::Of(thread_);
    work.Clear(isSignalConnected(QMetaMethod::fromSignal(&FileCopyTask::bytesProgress)));
    for (const Pair& tree : qAsConst(directories_)) {
        if (job.IsAborted(abort_, __func__))
            return abortedError;
        if (tree.second.isEmpty()) {
            QVLOG(ERROR) << "Cannot create path to ''";
            return createDirectoryError;
        }
        FoundTree& found = work.trees.emplace_back(tree);
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
    FoundTree found({path, path});
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
    size_t total = size_t(files_.size()) + size_t(symlinks_.size());
    for (const FoundTree& tree : work.trees)
        total += tree.files.size() + tree.links.size();
    work.CountBytes(files_);
    work.BeginCopying(total);

    int current = 0;
    int code = 0;
    // Whether the job goes on after an item.
    const auto copy = [&](bool isFile, const Item& item) {
        code = abortedError;
        if (job.IsAborted(abort_, "CopyAll"))
            return false;
        code = isFile ? work.CopyFile(item) : work.CopySymlink(item);
        if (code != 0)
            QVLOG_FROM("CopyAll", ERROR)
                << "Copying from '" << item.Source() << "' to '" << item.Destination()
                << "' failed with error '" << code << "'!";
        else
            Q_EMIT progress(++current, int(total));
        return code == 0;
    };
    for (const Pair& item : qAsConst(files_)) {
        if (!copy(true, work.Given(item)))
            return code;
    }
    for (FoundTree& tree : work.trees) {
        for (const Tree::Entry& file : tree.files) {
            if (!copy(true, work.Found(tree, file)))
                return code;
        }
        tree.Close();
    }
    // A link that was added as a file, too, is copied as a file both times.
    const QSet<Pair> given(files_.cbegin(), files_.cend());
    for (const Pair& item : qAsConst(symlinks_)) {
        const bool isFile = given.contains(item) ||
                            std::any_of(work.trees.cbegin(), work.trees.cend(),
                                        [&](const FoundTree& tree) { return tree.HasFile(item); });
        if (!copy(isFile, work.Given(item)))
            return code;
    }
    for (FoundTree& tree : work.trees) {
        for (const Tree::Entry& link : tree.links) {
            const bool isFile =
                !given.isEmpty() && given.contains({tree.SourceOf(link), tree.DestinationOf(link)});
            const Pair paths =
                isFile ? Pair(tree.SourceOf(link), tree.DestinationOf(link)) : Pair();
            if (!copy(isFile, isFile ? work.Given(paths) : work.Found(tree, link)))
                return code;
        }
        tree.Close();
    }
    return work.FinishCopying();
}

int FileCopyTask::CopyFile(const QString& source, const QString& destination)
{
    const Pair item(source, destination);
    CopyWork& work = JobThread<CopyWork>::Of(thread_);
    return work.CopyFile(work.Given(item));
}

int FileCopyTask::CopySymlink(const QString& source, const QString& destination)
{
    const Pair item(source, destination);
    CopyWork& work = JobThread<CopyWork>::Of(thread_);
    return work.CopySymlink(work.Given(item));
}

int FileCopyTask::BeforeCopy(const QString& source, const QString& destination)
{
    if (!Exists(source))
        return ReportMissing(source);
    const Pair item(source, destination);
    const int code = CopyWork::MakeParent(JobThread<CopyWork>::Of(thread_).Given(item));
    if (code != 0 || !Exists(destination))
        return code;
    return MakeRoom(destination, [&] {
        QFile file(destination);
        return FileCommands::RemoveFile(file);
    });
}

} // namespace common
