#pragma once

#include "common/qvcommon_export.h"

#include <QAtomicInt>
#include <QObject>
#include <QPointer>
#include <QScopedPointer>
#include <QString>
#include <QStringList>
#include <QThread>

namespace common {

class FileRemoveTask;
class JobRelay;

/**
 * Removes files, links and directory trees on a thread of its own.
 *
 * @code
 * using common::FileRemover;
 * auto* remover = new FileRemover;
 * remover->setParent(this);
 * remover->AddDirectory(cache + "/avatars");
 * remover->AddFile(cache + "/index.json");
 * connect(remover, &FileRemover::succesed, this, &Client::CacheIsClear);
 * connect(remover, &FileRemover::failed, this, &Client::ShowError);
 * remover->Remove();
 * @endcode
 *
 * A job first scans its trees, then removes entry by entry: all files and links, then all
 * directories, children before parents. Each operation is tried five times (see FileCommands), and
 * the first entry that fails ends the job; what was removed until then stays removed. Every job
 * that is not replaced or deleted ends with exactly one of succesed() and failed(), delivered
 * through the event loop of the remover's thread.
 *
 * - What does not exist counts as removed; an empty path names nothing.
 * - Nothing outside the trees is removed, even if somebody exchanges their directories for links
 *   meanwhile: the entry fails.
 * - Links are removed as links and never followed; a tree that is itself a link of any kind, too.
 * - Hidden entries and names that are not valid UTF-8 are not removed, nor is what lies in a
 *   directory that cannot be read. The directory that holds such an entry fails with 700203.
 *
 * Codes of failed(): 700202 aborted, 700203 a directory could not be removed, 700204 a file could
 * not be removed, 700205 no thread could be started.
 *
 * The remover lives on a thread with an event loop. It may be deleted at any time outside the
 * slots connected to it (in these: deleteLater()). That aborts a running job and waits for the
 * current entry.
 */
class QVCOMMON_EXPORT FileRemover : public QObject
{
    Q_OBJECT

public:
    FileRemover();
    ~FileRemover() override;

public Q_SLOTS:
    /** Adds a file or link. Like AddDirectory(), it applies to later jobs and checks nothing. */
    void AddFile(const QString& filePath);
    /** Adds a tree, itself included. */
    void AddDirectory(const QString& dirPath);

    /**
     * Starts a job with everything that was ever added. A job that is under way is aborted first,
     * which blocks, and nothing more comes of it.
     *
     * @return always true: a job that cannot start ends with failed(), too
     */
    bool Remove();

    /**
     * Ends the current job and waits for its thread: with @p force after the current entry, with
     * failed() and code 700202; without @p force after the whole job. Signals that are under way
     * still arrive. The calling thread is blocked meanwhile.
     */
    void Abort(bool force);

Q_SIGNALS:
    /**
     * @p current of @p total entries are done. Not emitted during the scan. Each report arrives, in
     * order, but the thread is woken for them every 10 ms at most.
     */
    void progress(int current, int total);
    /** The job has ended: everything was removed. */
    void succesed();
    /** The job has ended early; see the codes above. @p errorText is for logs, in English. */
    void failed(int errorCode, const QString& errorText);

private:
    QStringList files_;
    QStringList directories_;
    QPointer<FileRemoveTask> task_;
    QPointer<JobRelay> relay_;
};

/**
 * The worker of a FileRemover: one job on one thread. It stays on the thread that made it, and
 * deletes itself there once its own thread has ended.
 */
class QVCOMMON_EXPORT FileRemoveTask : public QObject
{
    Q_OBJECT

public:
    /** For one job. */
    FileRemoveTask(const QStringList& files, const QStringList& directories);
    ~FileRemoveTask() override;

public Q_SLOTS:
    /** Starts the thread. */
    void Remove();
    /** Waits for the thread, with @p force after telling it to stop at the next entry. */
    void Abort(bool force);
    /** The job, on the worker thread. */
    void run();

Q_SIGNALS:
    // Emitted on the worker thread.

    /** @p current of @p total entries are done. */
    void progress(int current, int total);
    /** The end of a job that did everything. */
    void succesed();
    /** The end of any other job. */
    void failed(int errorCode, const QString& errorText);

protected:
    // The steps of the job; each returns an error code, 0 for success.

    /** Adds what lies in the trees to the files and directories. */
    int Scan();
    /** Lists one directory of the tree @p root, with paths relative to that. */
    int ScanPath(const QString& root, const QString& path, QStringList& files,
                 QStringList& directories);
    /** Removes all files and links, then all directories, with progress. */
    int RemoveAll();
    /** Removes one file or link. */
    int RemoveFile(const QString& path);
    /** Removes one empty directory. */
    int RemoveDirectory(const QString& path);

private:
    QStringList files_;
    QStringList directories_;
    QAtomicInt abort_;
    QScopedPointer<QThread> thread_;
};

} // namespace common
