#pragma once

#include "common/qvcommon_export.h"

#include <QString>
#include <QStringList>

namespace common {

/**
 * The desktop around the client: files, standard paths, other programs. Stateless; any thread.
 *
 * @code
 * common::Shell::ShowFile(file); // in the file manager
 * @endcode
 *
 * Failures are results, and are logged. The operations at the end have no counterpart on Linux:
 * they return an empty or false result at once.
 */
class QVCOMMON_EXPORT Shell
{
public:
    Shell() = delete;

    /**
     * Copies one file, on the calling thread; creates missing directories of the destination.
     *
     * @param source      path of the file
     * @param destination path of the new file itself, not of its directory
     * @param overwrite remove an existing destination first; without it, one is a failure. Nothing
     *                  is removed for a source that cannot be copied: one that does not exist,
     *                  cannot be read, is no regular file or is the destination itself.
     * @return whether the file was copied
     */
    static bool Copy(const QString& source, const QString& destination, bool overwrite);

    /**
     * Copies files, given by absolute paths or by paths relative to @p sourceDir, to the same
     * places below @p destinationDir.
     *
     * @return false as soon as one file fails; true for an empty list
     */
    static bool Copy(const QStringList& files, const QString& sourceDir,
                     const QString& destinationDir, bool overwrite);

    /**
     * The absolute paths of the files in a tree, the contents of a directory in place of it.
     *
     * Hidden entries and names that are not UTF-8 are not listed. A link to a directory is
     * followed, unless it leads back to a directory that it lies in; so directories that are full
     * of links to each other are listed once for each way through them, which can be very often.
     *
     * @param dir         path of the tree; empty is the current directory
     * @param nameFilters wildcards, for directories as well as for files: a directory whose name
     *                    matches none is not entered. Empty matches everything.
     */
    static QStringList ScanFiles(const QString& dir, const QStringList& nameFilters);

    /**
     * A path for a new temporary directory, another one at each call. Nothing is created.
     *
     * @warning Others can guess it, and make something there first: QTemporaryDir is safer where
     * the directory for temporary files is shared.
     */
    static QString TempPath();

    /** The language of the user interface, as in "en-GB" or "de_DE". */
    static QString LocaleName();

    /** Where the desktop entries of the user's applications are. */
    static QString AppPath();

    /**
     * Removes a directory tree three seconds from now: call it right before the process exits.
     *
     * Of a path that is a link, only the link is removed. An empty path is no directory.
     *
     * @return whether the removal was scheduled, or there is no such directory. A path with a single quote
     *         in it is refused. That the removal itself fails is not known.
     */
    static bool RemoveAfterExit(const QString& folder);

    /** Starts a program that lives on its own. Whether it was started; a failure is not logged. */
    static bool ProcessStartDetached(const QString& program, const QStringList& arguments,
                                     const QString& workingDirectory);

    /**
     * Opens the desktop's file manager on a file, with the file selected where the file manager can
     * do that.
     *
     * Blocks for as long as "xdg-mime" takes to tell the file manager, at most about two seconds.
     *
     * @return whether a program was started
     */
    static bool ShowFile(const QString& file);

    /** Always false. */
    static bool IsQuickLaunchAvailable();
    /** Always empty. */
    static QString QuickLaunchPath();
    /** Always false. */
    static bool CreateShortcut(const QString&, const QString&, const QString&, const QString&,
                               const QString&);
    /** Always false. */
    static bool RegisterComponent(const QString&, bool);
    /** Always false. */
    static bool UnregisterComponent(const QString&, bool);
    /** Always false, also on a 64-bit system; logged. */
    static bool Is64BitSystem();
    /** Always empty; logged. */
    static QString DesktopPath();
    /** Always empty; logged. */
    static QString StartMenuPath();
    /** Always empty; logged. */
    static QStringList ProcessModules(const QString& process);
    /** Always false; logged. */
    static bool ProcessExists(const QString& process);
    /** Always false, nothing is ended; logged. */
    static bool ProcessKill(const QString& process);
    /** Always false, at once; logged. */
    static bool ProcessWait(const QString& process, int timeout);
};

class RegistryOverriderImpl;

/** Does nothing on Linux. */
class QVCOMMON_EXPORT RegistryOverrider
{
public:
    /** Nothing is overridden. */
    RegistryOverrider(const QString&, const QString&, const wchar_t*);
    virtual ~RegistryOverrider();

    /** Null. */
    static RegistryOverriderImpl* CreateRegistryOverriderImpl(const QString&, const QString&,
                                                              const wchar_t*);
    /** Does nothing. */
    static void Destroy(RegistryOverriderImpl*);

private:
    RegistryOverriderImpl* impl_;

    Q_DISABLE_COPY_MOVE(RegistryOverrider)
};

} // namespace common
