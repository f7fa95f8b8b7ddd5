#pragma once

#include "common/qvcommon_export.h"

#include <QAtomicInt>
#include <QList>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QScopedPointer>
#include <QString>
#include <QStringList>
#include <QThread>

namespace common {

class FileCopyTask;
class JobRelay;

/**
 * Copies files, symbolic links and directory trees on a thread of its own.
 *
 * @code
 * using common::FileCopier;
 * auto* copier = new FileCopier;
 * copier->setParent(this);
 * copier->AddDirectory("/usr/share/sounds", home + "/sounds");
 * copier->AddFile(profile, home + "/profile.json");
 * connect(copier, &FileCopier::bytesProgress, this, &Client::ShowBytes);
 * connect(copier, &FileCopier::succesed, this, &Client::CopyDone);
 * connect(copier, &FileCopier::failed, this, &Client::ShowError);
 * copier->Copy();
 * @endcode
 *
 * A job first scans its trees, then copies item by item: the files that were added, the files
 * found, the links that were added, the links found. An item that exists at the destination is
 * replaced, each operation is tried five times (see FileCommands), and the first item that fails
 * ends the job; what was copied until then stays. Every job that is not replaced or deleted ends
 * with exactly one of succesed() and failed(), delivered through the event loop of the copier's
 * thread.
 *
 * What is copied:
 * - Links are copied as links and become relative, so that a copied tree is self-contained. One
 *   that leads out of the tree is copied with its way there, which from the new place may lead
 *   elsewhere or nowhere.
 * - Hidden entries, empty directories, names that are not valid UTF-8, and what lies in a directory
 *   that cannot be read are left out, without an error. Paths may be of any length.
 * - A copy has the permissions of its source, but never set-user-ID and the like; its holes, too.
 * - What only Qt knows (":/sounds", paths with a search prefix) is copied as well.
 * - Anything but a regular file that can be read (a FIFO, a socket, a device, a directory added as
 *   a file) is never opened: it fails with 700107. So does a link whose target is not valid UTF-8.
 * - A file or link is never copied onto itself or onto anything that it leads to or through: it
 *   fails with 700107, and nothing is removed.
 * - An existing directory is not replaced by a file: it fails with 700106.
 * - The scan is over before anything is copied, so a destination inside its source is filled with
 *   what was there at first. An item that would replace another item's source fails with 700107.
 * - An empty path is no directory: as a source it fails with 700102 or 700103, as a destination
 *   with 700104.
 * - A new file is complete before it gets its name or replaces an old one, in one step. Where the
 *   file system has no nameless files, a copy that is killed leaves a hidden file ".qvcopy-..." that
 *   the next copy to the same name removes.
 * - Nothing is read or written outside the trees, even if somebody exchanges their directories for
 *   links meanwhile, and no link below a tree's destination is followed: the item fails with 700104
 *   or 700107. What was exchanged after that fails at the end.
 * - With succesed() everything is on the disk.
 *
 * Codes of failed(): 700102 a directory to scan does not exist, 700103 a source file does not
 * exist, 700104 the destination's directory could not be created, 700105 aborted, 700106 an
 * existing destination could not be removed, 700107 the file or link could not be copied, 700108
 * no thread could be started.
 *
 * The copier lives on a thread with an event loop. It may be deleted at any time outside the
 * slots connected to it (in these: deleteLater()). That aborts a running job and waits for the
 * current item.
 */
class QVCOMMON_EXPORT FileCopier : public QObject
{
    Q_OBJECT

public:
    FileCopier();
    ~FileCopier() override;

public Q_SLOTS:
    /**
     * Adds a file that is to become @p fileDestPath, the new file itself, not its directory.
     *
     * Like the other Add functions, it applies to jobs that start later and checks nothing.
     */
    void AddFile(const QString& fileSourcePath, const QString& fileDestPath);
    /** Adds a link that is to be copied as a link. */
    void AddSymlink(const QString& fileSourcePath, const QString& fileDestPath);
    /** Adds a tree: what lies in @p dirSourcePath is to lie in @p dirDestPath. */
    void AddDirectory(const QString& dirSourcePath, const QString& dirDestPath);

    /**
     * Starts a job with everything that was ever added: a second Copy() copies it all again. A job
     * that is under way is aborted first, which blocks, and nothing more comes of it.
     *
     * @return always true: a job that cannot start ends with failed(), too
     */
    bool Copy();

    /**
     * Ends the current job and waits for its thread: with @p force after the current item or within
     * a large file, with failed() and code 700105; without @p force after the whole job. Signals that
     * are under way still arrive. The calling thread is blocked meanwhile.
     */
    void Abort(bool force);

Q_SIGNALS:
    /**
     * @p current of @p total items are done. Not emitted during the scan. Each report arrives, in order, but
     * the thread is woken for them every 10 ms at most.
     */
    void progress(int current, int total);
    /** The job has ended: everything was copied. */
    void succesed();
    /** The job has ended early; see the codes above. @p errorText is for logs, in English. */
    void failed(int errorCode, const QString& errorText);
    /**
     * @p done of @p total bytes are copied: for a progress bar that also moves during a large file.
     * Emitted every 10 ms at most, and at the end of a job that copied all of them; not during the
     * scan, which finds out @p total. Bytes are counted only if this was connected before Copy().
     */
    void bytesProgress(qint64 done, qint64 total);

private:
    QList<QPair<QString, QString>> symlinks_;
    QList<QPair<QString, QString>> files_;
    QList<QPair<QString, QString>> directories_;
    QPointer<FileCopyTask> task_;
    QPointer<JobRelay> relay_;
};

/**
 * The worker of a FileCopier: one job on one thread. It stays on the thread that made it, and
 * deletes itself there once its own thread has ended.
 */
class QVCOMMON_EXPORT FileCopyTask : public QObject
{
    Q_OBJECT

public:
    /** For one job: pairs of source and destination. */
    FileCopyTask(const QList<QPair<QString, QString>>& files,
                 QList<QPair<QString, QString>> directories,
                 QList<QPair<QString, QString>> symlinks);
    ~FileCopyTask() override;

public Q_SLOTS:
    /** Starts the thread. */
    void Copy();
    /** Waits for the thread, with @p force after telling it to stop as soon as it can. */
    void Abort(bool force);
    /** The job, on the worker thread. */
    void run();

Q_SIGNALS:
    // Emitted on the worker thread.

    /** @p current of @p total items are done. */
    void progress(int current, int total);
    /** The end of a job that did everything. */
    void succesed();
    /** The end of any other job. */
    void failed(int errorCode, const QString& errorText);
    /** @p done of @p total bytes are copied. */
    void bytesProgress(qint64 done, qint64 total);

protected:
    // The steps of the job; each returns an error code, 0 for success.

    /** Adds what lies in the trees to the files and links. */
    int Scan();
    /** Lists one directory of the tree @p root, with paths relative to that. */
    int ScanPath(const QString& root, const QString& path, QStringList& files, QStringList& links);
    /** Copies all files, then all links, with progress. */
    int CopyAll();
    /** Copies one file. */
    int CopyFile(const QString& source, const QString& destination);
    /** Copies one link, as a relative one. */
    int CopySymlink(const QString& source, const QString& destination);
    /** Makes room for the destination, and its directory. */
    int BeforeCopy(const QString& source, const QString& destination);

private:
    QList<QPair<QString, QString>> files_;
    QList<QPair<QString, QString>> symlinks_;
    QList<QPair<QString, QString>> directories_;
    QAtomicInt abort_;
    QScopedPointer<QThread> thread_;
};

} // namespace common
