#pragma once

#include "common/qvcommon_export.h"

#include <QFileInfo>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

namespace common {

/**
 * Lists directory trees and files, and removes what it listed, on the calling thread.
 *
 * @code
 * common::FileHelper helper(cache);
 * connect(&helper, &common::FileHelper::failed, this, &Client::ShowProblem);
 * const bool removed = helper.Remove();
 * @endcode
 *
 * It blocks until it is done, does not try again, does not log and cannot be aborted: for anything
 * large use FileRemover. All signals are emitted on the calling thread. Hidden entries,
 * dangling links, special files (a FIFO, say) and names that are not valid UTF-8 are not listed, so
 * a directory that holds one cannot be removed. Links are never followed, not even where an added
 * directory is one. Nothing outside a tree is removed, whoever exchanges its directories for links
 * meanwhile.
 *
 * A slot may add to the lists, for the next scan, and may delete the helper: nothing more is done
 * then, and the operation returns false.
 */
class QVCOMMON_EXPORT FileHelper : public QObject
{
    Q_OBJECT

public:
    FileHelper();
    /** With one directory to begin with. */
    explicit FileHelper(const QString& path);
    ~FileHelper() override;

    /** Adds a directory to those that are listed. Nothing is checked here. */
    void AppendDir(const QString& path);
    /** Adds files; those that do not exist are left out of the list. */
    void AppendFiles(const QStringList& list);

    /**
     * Lists all directories, contents before the directory itself, then the files that exist.
     * What earlier scans found stays in the list.
     */
    void Scan();

    /**
     * Scans, then removes every entry; goes on after a failure.
     *
     * @return whether everything could be removed. A second call fails for each entry that the
     *         first one removed, as they are still in the list.
     */
    bool Remove();

    /** Scans and returns false: this class does not copy. See FileCopier. */
    bool Copy(const QString& destination);

Q_SIGNALS:
    /** An entry was found; @p total of them by now. */
    void scan(const QString& file, qulonglong total);
    /** Entry @p current (from 1) of @p total is about to be removed. */
    void progress(const QString& file, qulonglong current, qulonglong total);
    /** The entry could not be removed. */
    void failed(const QString& file);

private:
    void ScanPath(const QString& path);
    QVCOMMON_NO_EXPORT void AddFound(const QFileInfo& entry, const QString& path);

    QStringList dirs_;
    QStringList files_;
    QList<QFileInfo> found_;
    QStringList nameFilters_;
};

} // namespace common
