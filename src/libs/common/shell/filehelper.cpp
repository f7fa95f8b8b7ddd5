#include "common/shell/filehelper.h"

#include "common/shell/fileidentity_p.h"

#include <QDir>
#include <QPointer>

namespace common {

FileHelper::FileHelper() = default;

FileHelper::FileHelper(const QString& path) : dirs_(path)
{
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
        const QString link = WithoutTrailingSeparators(path);
        if (IsLink(path))
            AddFound(QFileInfo(link), QFileInfo(link).absoluteFilePath());
        else
            ScanPath(path);
        if (!self)
            return;
    }
    for (const QString& path : files) {
        if (QFileInfo::exists(path))
            AddFound(QFileInfo(path), path);
        if (!self)
            return;
    }
}

void FileHelper::ScanPath(const QString& path)
{
    const QPointer<FileHelper> self(this);
    const QDir directory(path);
    if (path.isEmpty() || !directory.exists()) // an empty QDir is the current directory
        return;
    const QFileInfoList entries = directory.entryInfoList(
        nameFilters_, QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot, QDir::NoSort);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir() && !entry.isSymLink())
            ScanPath(entry.absoluteFilePath());
        else
            AddFound(entry, entry.absoluteFilePath());
        if (!self)
            return;
    }
    const QFileInfo top(path);
    AddFound(top, top.absoluteFilePath());
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
    bool removedAll = true;
    qulonglong current = 0;
    for (const QFileInfo& entry : entries) {
        const QString path = entry.absoluteFilePath();
        Q_EMIT progress(path, ++current, static_cast<qulonglong>(entries.size()));
        if (!self)
            return false;
        const bool isDirectory = entry.isDir() && !entry.isSymLink();
        if (isDirectory ? QDir().rmdir(path) : QDir().remove(path))
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
