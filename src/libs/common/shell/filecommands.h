#pragma once

#include "common/qvcommon_export.h"

#include <QDir>
#include <QFile>
#include <QString>

namespace common {

/**
 * File operations that are tried five times, because another process (an indexer, a virus scanner, a
 * file manager) may hold a file for a moment.
 *
 * @code
 * QFile file(path);
 * if (!common::FileCommands::RemoveFile(file))
 *     ShowProblem(path);
 * @endcode
 *
 * Each operation makes up to five attempts with pauses of 50 milliseconds between them, so a
 * failure takes about 200 milliseconds of the calling thread. Each failed attempt is logged as a
 * warning; the result is all that says whether the last one succeeded. Stateless; any thread.
 */
class QVCOMMON_EXPORT FileCommands
{
public:
    FileCommands() = delete;

    /** QDir::rename() of @p oldName to @p newName, both relative to @p dir or absolute. */
    static bool RenameDirectory(QDir& dir, const QString& oldName, const QString& newName);
    /** Removes the empty directory @p dirName, relative to @p dir or absolute. */
    static bool RemoveDirectory(QDir& dir, const QString& dirName);
    /** Creates @p dirPath with all missing parents; one that exists is a success. */
    static bool CreateDirectory(QDir& dir, const QString& dirPath);
    /** Removes the file, or the link itself if it is one. */
    static bool RemoveFile(QFile& file);
    /** QFile::copy(): fails if @p newName exists. Keeps content and permissions. */
    static bool CopyFile(QFile& file, const QString& newName);
    /** Makes @p linkName a symbolic link with the text @p target; fails if it exists. */
    static bool CreateSymlink(const QString& target, const QString& linkName);
};

} // namespace common
