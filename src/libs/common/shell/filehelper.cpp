#include "common/shell/filehelper.h"

#include "common/shell/paths_p.h"
#include "common/shell/removal_p.h"
#include "common/shell/treewalk_p.h"

#include <QDir>
#include <QPointer>

#include <memory>
#include <vector>

namespace common {

namespace {

// Where a found entry is: in a tree, or without one by its path.
struct Place
{
    std::shared_ptr<RemovalTree> tree;
    RemovalTree::Item item;
};

// The places of the found entries.
class Places : public QObject
{
public:
    using QObject::QObject;

    std::vector<Place> list;
};

std::vector<Place>& PlacesOf(const QObject* helper)
{
    return static_cast<Places*>(helper->children().constFirst())->list;
}

bool RemoveFrom(const Place& place, const QFileInfo& found)
{
    if (place.tree) {
        const Removal removal = place.tree->Remove(place.item);
        if (place.item.directory == Tree::root) // the last one of the tree
            place.tree->directories.Close();
        return removal == Removal::Done;
    }
    const QString path = found.absoluteFilePath();
    return found.isDir() && !found.isSymLink() ? QDir().rmdir(path) : QDir().remove(path);
}

} // namespace

FileHelper::FileHelper()
{
    new Places(this);
}

FileHelper::FileHelper(const QString& path) : FileHelper()
{
    dirs_ << path;
}

FileHelper::~FileHelper() = default;

void FileHelper::AppendDir(const QString& path)
{
    dirs_ << path;
}

void FileHelper::AppendFiles(const QStringList& list)
{
    files_ << list;
}

// A slot may add to the lists, and delete the helper: it is not touched any more then.
void FileHelper::Scan()
{
    const QPointer<FileHelper> self(this);
    const QStringList directories = dirs_;
    const QStringList files = files_;
    for (const QString& path : directories) {
        const QFileInfo link(WithoutTrailingSeparators(path));
        if (!link.isSymLink()) {
            ScanPath(path);
        } else {
            PlacesOf(this).push_back({});
            AddFound(link, link.absoluteFilePath());
        }
        if (!self)
            return;
    }
    for (const QString& path : files) {
        if (!QFileInfo::exists(path))
            continue;
        PlacesOf(this).push_back({});
        AddFound(QFileInfo(path), path);
        if (!self)
            return;
    }
}

void FileHelper::ScanPath(const QString& path)
{
    const QFileInfo root(path);
    if (!root.isDir())
        return;
    const QPointer<FileHelper> self(this);
    const QString below = PathBelow(root.absoluteFilePath());
    const auto tree = std::make_shared<RemovalTree>(path);
    TreeWalk walk(tree->names, tree->directories, path, TreeWalk::UsualFiles, nameFilters_);
    for (auto step = walk.Next(); self && step != TreeWalk::End; step = walk.Next()) {
        if (step == TreeWalk::Found && walk.Kind() == Tree::DirectoryKind)
            continue; // it comes after its contents
        const auto item = step == TreeWalk::Left ? tree->At(walk.Directory())
                                                 : RemovalTree::Item{walk.Entry(), {}};
        const bool isRoot = item.directory == Tree::root;
        const QFileInfo info = isRoot ? root : QFileInfo(below + tree->names.Path(item.entry));
        // The system knows another file, if any, by the path of a resource.
        PlacesOf(this).push_back({root.isNativePath() ? tree : nullptr, item});
        AddFound(info, info.absoluteFilePath());
    }
    tree->directories.Close();
}

void FileHelper::AddFound(const QFileInfo& entry, const QString& path)
{
    found_ << entry;
    Q_EMIT scan(path, static_cast<qulonglong>(found_.size()));
}

bool FileHelper::Remove()
{
    const QPointer<FileHelper> self(this);
    Scan();
    if (!self)
        return false;
    const QList<QFileInfo> entries = found_;
    const std::vector<Place> places = PlacesOf(this);
    bool removedAll = true;
    for (int i = 0; i < entries.size(); ++i) {
        const QString path = entries[i].absoluteFilePath();
        Q_EMIT progress(path, static_cast<qulonglong>(i) + 1,
                        static_cast<qulonglong>(entries.size()));
        if (!self)
            return false;
        if (RemoveFrom(places[size_t(i)], entries[i]))
            continue;
        removedAll = false;
        Q_EMIT failed(path);
        if (!self)
            return false;
    }
    return removedAll;
}

bool FileHelper::Copy(const QString&)
{
    Scan();
    return false;
}

} // namespace common
