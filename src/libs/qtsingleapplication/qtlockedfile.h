#pragma once

#include "common/qvcommon_export.h"

#include <QFile>

/**
 * A QFile with an advisory lock on it.
 *
 * @code
 * QtLockedFile file(path);
 * if (file.open(QIODevice::ReadWrite) && file.lock(QtLockedFile::WriteLock))
 *     Update(file);          // nobody else does; unlocked when the file is closed
 * @endcode
 *
 * The lock belongs to this object (an open file description lock of Linux): it keeps out other
 * objects in this process, too, and ends with close(), the object or the process, however that
 * ends; but a child that was forked without exec keeps the lock of a process that crashed. Only
 * those who lock are kept out. For one thread at a time.
 */
class QVCOMMON_EXPORT QtLockedFile : public QFile
{
    Q_OBJECT

public:
    /** Kinds of locks. */
    enum LockMode {
        NoLock = 0, ///< unlocked
        ReadLock,   ///< several may have it at once; the file must be open for reading
        WriteLock   ///< only one has it; the file must be open for writing
    };

    QtLockedFile();
    /** For the file of that name; it is not opened yet. */
    explicit QtLockedFile(const QString& name);
    ~QtLockedFile() override;

    /**
     * As QFile::open(), but refuses a mode that would empty the file before it can be locked
     * (QIODevice::Truncate, and WriteOnly without Append or NewOnly).
     */
    bool open(OpenMode mode) override;
    /** Gives up the lock and closes the file. */
    void close() override;

    /**
     * Gets the lock, in place of one that it has. NoLock unlocks.
     *
     * What was read before may be out of date. Two that have a ReadLock and both wait for a
     * WriteLock wait for ever.
     *
     * @param mode  the kind of lock
     * @param block wait for as long as another one has it
     * @return whether it was got; false for a file that is not open
     */
    bool lock(LockMode mode, bool block = true);
    /** Gives up the lock, if there is one. False for a file that is not open. */
    bool unlock();

    /** Whether this object has a lock. */
    bool isLocked() const;
    /** The lock that this object has. */
    LockMode lockMode() const;

private:
    LockMode mode_ = NoLock;
};
