#pragma once

#include <QByteArray>

/**
 * Faults of the file system. A program built with this source has its own openat(), write() and so
 * on, which come before libc's for Qt and the library, too. Unless armed they hand on. Pauses and
 * waiting for the disk take no time in such a program, so that thousands of runs do not either.
 */
namespace filefaults {

enum Call { Open, Read, Write, Name, Remove, Make, Sync, Any };

// Instead of an error number.
constexpr int Short = 0;     ///< half of the bytes only
constexpr int KillSelf = -1; ///< the process ends there and then, as by kill -9

struct Fault
{
    Call call;
    int error;
    int from; ///< which of the calls fails, counted from 1 ...
    int to;   ///< ... and the last one that does
};

/** From now on the calls below the directory, which is absolute, are counted and fail. */
void Arm(const QByteArray& directory, const Fault& fault);
/** Back to normal. How many calls have failed. */
int Disarm();

/** Whether files can be made without a name: not everywhere. */
void AllowNameless(bool allow);

} // namespace filefaults
