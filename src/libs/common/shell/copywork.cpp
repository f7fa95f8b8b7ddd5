#include "common/shell/copywork_p.h"

#include "common/shell/filecopier.h"
#include "common/shell/paths_p.h"
#include "common/shell/treewalk_p.h"

#include <QFile>
#include <QFileInfo>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>

#include <fcntl.h>

namespace common {

namespace {

constexpr const logger::ICategory& logCategory = copyJob.logCategory;
constexpr const char* logSource = copyJob.logSource;

constexpr mode_t allPermissions = 0777; // without those bits that make a program somebody else's

// What became of an item in the end, told in the name of that function.
template <typename Describe>
int Tell(const char* function, int code, Describe describe)
{
    if (code == 0)
        QVLOG_FROM(function, DEBUG) << "Successfully copied " << describe();
    else if (code == copyError)
        QVLOG_FROM(function, ERROR) << "Cannot copy " << describe();
    return code;
}

// Whether the destination could be removed. The kernel looks for anything against that first, and
// then finds that it is no directory.
bool IsRemovable(const Place& place)
{
    struct stat status = {};
    const int directory = place.OpenDirectory();
    if (fstatat(directory, place.name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT;
    if (S_ISDIR(status.st_mode))
        errno = EISDIR;
    else
        unlinkat(directory, place.name, AT_REMOVEDIR);
    return errno == ENOTDIR;
}

int FindRoom(const CopyItem& item)
{
    const QString destination = item.Destination();
    return MakeRoom(destination, [&] {
        return copyJob.Try(
            "RemoveFile", [&] { return IsRemovable(item.to); },
            [&] { return FailedToRemoveFile(destination); });
    });
}

// The text of the link; empty, and errno, if it is none.
QByteArray ReadLink(const Place& link)
{
    const int directory = link.OpenDirectory();
    if (directory == -1)
        return {};
    std::array<char, PATH_MAX> text;
    const ssize_t length = readlinkat(directory, link.name, text.data(), text.size());
    return {text.data(), qMax<int>(int(length), 0)};
}

} // namespace

CopyItem CopyWork::Given(const CopyPaths& item)
{
    const QString path = IsName(item.first) ? item.first : QString();
    const QFileInfo source(path);
    const bool isNative = path.isEmpty() || source.isNativePath();
    from_ = QFile::encodeName(source.filePath());
    return {isNative ? CopySource::Given : CopySource::OfQt,
            {nullptr, Tree::root, from_.constData()},
            GivenDestination(item.second),
            item,
            nullptr,
            {}};
}

// The directory of the one before stays open, as long as it is in its place.
Place CopyWork::GivenDestination(const QString& path)
{
    const QByteArray bytes = QFile::encodeName(path);
    const qsizetype slash = bytes.lastIndexOf('/');
    const QByteArray directory = slash < 0 ? "." : slash == 0 ? "/" : bytes.left(slash);
    if (!to_ || HasMoved() || to_->Root() != directory)
        to_.emplace(noNames_, directory, OpenDirectories::MakeMissing);
    toName_ = bytes.mid(slash + 1);
    if (toName_.isEmpty() && !bytes.isEmpty())
        toName_ = "."; // "directory/"
    return {&*to_, Tree::root, toName_.constData()};
}

// Whether any directory of a given destination was exchanged for another one.
bool CopyWork::HasMoved()
{
    hasMoved_ =
        hasMoved_ || (to_ && to_->Seen(Tree::root).IsKnown() && !to_->IsInPlace(Tree::root));
    return hasMoved_;
}

CopyItem CopyWork::Found(CopyTree& tree, const Tree::Entry& entry)
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
    sources_.reset();
    to_.reset();
    hasMoved_ = false;
    bytesDone_ = 0;
    bytesTotal_ = 0;
}

// Finds what is in the tree.
int CopyWork::List(CopyTree& tree)
{
    const QString& path = tree.given.first;
    if (!QFileInfo(path).isDir()) {
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
            bytesTotal_ += tree.SizeOf(entry);
    }
    tree.from.Close();
    return 0;
}

size_t CopyWork::BeginCopying(const QList<CopyPaths>& files, const QList<CopyPaths>& links)
{
    for (const CopyPaths& file : files)
        bytesTotal_ += countsBytes_ ? QFileInfo(file.first).size() : 0;
    given_ = files + links;
    size_t items = size_t(given_.size());
    for (const CopyTree& tree : trees)
        items += tree.files.size() + tree.links.size();
    flush_ = DiskFlush(items);
    return items;
}

bool CopyWork::IsSourceOfAny(const Place& place)
{
    if (!sources_)
        sources_ = SourcesOf(trees, given_);
    return sources_->places.count({place.directories->Seen(place.directory), place.name}) > 0;
}

// What is told as copied is on the disk, and where it was to be.
int CopyWork::FinishCopying()
{
    for (CopyTree& tree : trees) {
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
    if (HasMoved()) {
        QVLOG_FROM("CopyAll", ERROR) << "A destination's directory was exchanged for another one!";
        return createDirectoryError;
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

int CopyWork::MakeParent(const CopyItem& item)
{
    const auto describe = [&] {
        return FailedToCreateDirectory(QFileInfo(item.Destination()).absolutePath());
    };
    if ((item.tree || IsName(item.given.second)) &&
        copyJob.Try(
            "CreateDirectory", [&] { return item.to.OpenDirectory() >= 0; }, describe))
        return 0;
    QVLOG_FROM("BeforeCopy", ERROR) << "Cannot create path to '" << item.Destination() << '\'';
    return createDirectoryError;
}

int MakeRoom(const QString& destination, const std::function<bool()>& remove)
{
    QVLOG_FROM("BeforeCopy", WARN)
        << '\'' << destination << "' already exists. Trying to remove before coping...";
    if (remove())
        return 0;
    QVLOG_FROM("BeforeCopy", ERROR) << "Cannot remove '" << destination << "'!";
    return removeError;
}

// Makes way for a new file or link, but not at the price of what is to be copied.
int CopyWork::Prepare(CopyItem& item, const std::function<bool()>& isSource)
{
    const int code = MakeParent(item);
    // A file of a tree has a name of its own, so its place in a new directory is free.
    const bool isFree =
        item.kind == CopySource::Found && item.to.directories->WasMade(item.to.directory);
    struct stat old = {};
    if (code != 0 || isFree || !item.to.Look(&old))
        return code;
    item.publication = NewFile::Replacement;
    const bool losesSource =
        isSource() || IsSourceOfAny(item.to) ||
        (S_ISLNK(old.st_mode) && GoesThroughLink(item.Source(), item.Destination()));
    return losesSource ? copyError : FindRoom(item);
}

int CopyWork::CopyFile(CopyItem item)
{
    CopySource source(item.kind, item.from,
                      item.kind == CopySource::OfQt ? item.Source() : QString());
    const CopySource::State state = source.Open();
    if (state == CopySource::Missing)
        return ReportMissing(item.Source());
    int code = state == CopySource::Unfit ? copyError
                                          : Prepare(item, [&] { return source.IsSame(item.to); });
    if (code == 0)
        code = TryToCopy(item, source);
    return Tell("CopyFile", code, [&] {
        return QStringLiteral("from '%1' to '%2'").arg(item.Source(), item.Destination());
    });
}

int CopyWork::TryToCopy(const CopyItem& item, CopySource& source)
{
    bool isAborted = false;
    const qint64 bytesBefore = bytesDone_;
    const auto attempt = [&] {
        if ((source.IsOpen() || source.Open() == CopySource::Ready) && CopyOnce(item, source))
            return true;
        source.Close();
        bytesDone_ = bytesBefore;
        isAborted = abort_.loadRelaxed() != 0;
        return isAborted;
    };
    const bool isOver = copyJob.Try(
        "CopyFile", attempt, [&] { return FailedToCopyFile(item.Source(), item.Destination()); });
    if (isAborted && IsAborted("CopyFile"))
        return abortedError;
    return isOver ? 0 : copyError;
}

bool CopyWork::CopyOnce(const CopyItem& item, const CopySource& source)
{
    const int directory = item.to.OpenDirectory();
    NewFile file(directory, item.to.name);
    if (directory < 0 || !file.Open() ||
        !content_.Copy(source.Number(), source.Status(), file.Number()))
        return false;
    // Some file systems have no permissions.
    if (fchmod(file.Number(), source.Status().st_mode & allPermissions) != 0 && errno != EPERM &&
        errno != EOPNOTSUPP && errno != ENOSYS)
        return false;
    const bool isFlushed = flush_.IsForEach() || item.publication == NewFile::Replacement;
    if ((isFlushed && fdatasync(file.Number()) != 0) || !file.Publish(item.publication))
        return false;
    Remember(item, directory);
    return true;
}

void CopyWork::Remember(const CopyItem& item, int directory)
{
    flush_.Remember(item.to.directories->Seen(item.to.directory), directory);
}

bool CopyWork::Report(qint64 bytes)
{
    bytesDone_ += bytes;
    if (bytesTotal_ > 0)
        Q_EMIT task_->bytesProgress(qMin(bytesDone_, bytesTotal_), bytesTotal_);
    return abort_.loadRelaxed() == 0;
}

int CopyWork::CopySymlink(CopyItem item)
{
    const QByteArray bytes = ReadLink(item.from);
    if (bytes.isEmpty() && (item.tree ? errno == ENOENT : !Exists(item.given.first)))
        return ReportMissing(item.Source());
    const QString text = QFile::decodeName(bytes);
    const QString target =
        text.isEmpty() ? text : RelativeTarget([&] { return item.Source(); }, text);
    const auto isSource = [&] {
        return LinkLeadsThrough(item.Source(), item.Destination());
    };
    const bool isCopyable = !text.isEmpty() && QFile::encodeName(text) == bytes;
    int code = isCopyable ? Prepare(item, isSource) : copyError;
    const auto attempt = [&] {
        const int directory = item.to.OpenDirectory();
        if (directory < 0 ||
            !NewFile(directory, item.to.name)
                 .PublishLink(QFile::encodeName(target).constData(), item.publication))
            return false;
        Remember(item, directory);
        return true;
    };
    if (code == 0 && !copyJob.Try("CreateSymlink", attempt,
                                  [&] { return FailedToCreateLink(item.Destination(), target); }))
        code = copyError;
    return Tell("CopySymlink", code, [&] {
        return QStringLiteral("link from '%1' to '%2' -> '%3'.")
            .arg(item.Source(), item.Destination(), target);
    });
}

} // namespace common
