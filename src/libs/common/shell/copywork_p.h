#pragma once

#include "common/shell/content_p.h"
#include "common/shell/copysource_p.h"
#include "common/shell/copytree_p.h"
#include "common/shell/diskflush_p.h"
#include "common/shell/filejob_p.h"
#include "common/shell/newfile_p.h"

#include <QAtomicInt>
#include <QList>

#include <deque>
#include <optional>

namespace common {

class FileCopyTask;

enum CopyCode {
    noDirectoryError = 700102,
    noFileError = 700103,
    createDirectoryError = 700104,
    abortedError = 700105,
    removeError = 700106,
    copyError = 700107,
    noThreadError = 700108
};

inline constexpr FileJob copyJob = {
    {"shell.filecopy"}, "src/libs/common/shell/filecopier", "Copy", "Copying", "copier",
    noThreadError};

/** One file or link to be copied: an entry of a tree, or given by its paths. */
struct CopyItem
{
    CopySource::Kind kind;
    Place from;
    Place to;
    const CopyPaths& given;
    const CopyTree* tree;
    Tree::Entry entry;
    NewFile::Publication publication = NewFile::New;

    QString Source() const { return tree ? tree->SourceOf(entry) : given.first; }
    QString Destination() const { return tree ? tree->DestinationOf(entry) : given.second; }
};

/** What the worker does, step by step. Each step returns an error code, 0 for success. */
class CopyWork
{
public:
    CopyWork(FileCopyTask* task, const QAtomicInt& abort) : task_(task), abort_(abort) {}

    /** The item with the given paths, valid until the next call. */
    CopyItem Given(const CopyPaths& item);
    static CopyItem Found(CopyTree& tree, const Tree::Entry& entry);

    /** For a new job, that counts bytes or not. */
    void Clear(bool countsBytes);
    /** Finds what is in the tree. */
    int List(CopyTree& tree);
    /** With these besides what was found; tells how many it is in all. */
    size_t BeginCopying(const QList<CopyPaths>& files, const QList<CopyPaths>& links);
    /** Looks at all directories once more, and waits for the disk. */
    int FinishCopying();

    int CopyFile(CopyItem item);
    int CopySymlink(CopyItem item);
    /** Makes the directory of the destination. */
    static int MakeParent(const CopyItem& item);

    std::deque<CopyTree> trees;

private:
    Place GivenDestination(const QString& path);
    bool HasMoved();
    bool IsAborted(const char* function) const { return copyJob.IsAborted(abort_, function); }
    int Prepare(CopyItem& item, const std::function<bool()>& isSource);
    int TryToCopy(const CopyItem& item, CopySource& source);
    bool CopyOnce(const CopyItem& item, const CopySource& source);
    void Remember(const CopyItem& item, int directory);
    bool Report(qint64 bytes);
    bool IsSourceOfAny(const Place& place);

    FileCopyTask* task_;
    const QAtomicInt& abort_;
    QByteArray from_; // of the given item
    Tree noNames_;
    std::optional<OpenDirectories> to_;
    QByteArray toName_;
    bool hasMoved_ = false;
    QList<CopyPaths> given_;
    std::optional<CopySources> sources_; // where anything is replaced
    DiskFlush flush_{1};
    Content content_{[this](qint64 bytes) {
        return Report(bytes);
    }};
    bool countsBytes_ = false;
    qint64 bytesDone_ = 0;
    qint64 bytesTotal_ = 0;
};

/** The parts of BeforeCopy(). */
int ReportMissing(const QString& source);
int MakeRoom(const QString& destination, const std::function<bool()>& remove);

} // namespace common
