#pragma once

#include <QByteArray>

/**
 * Faults of the file system. A program built with this source has its own openat(), write() and so
 * on, which come before libc's for Qt and the library, too. Unless armed they hand on. Pauses and
 * waiting for the disk take no time in such a program, so that thousands of runs do not either.
 */
namespace filefaults {

enum class Fault {
    Fails,     ///< with EIO
    Shortened, ///< to half of the bytes
    DiskFull,  ///< from then on nothing can be written or named
    DiskGone,  ///< it and all calls after it fail
    Killed,    ///< the process ends there and then, as by kill -9
};

/** What the file system can do: not all of them make files without a name, or give them one. */
enum class Support { Full, NamesByProc, NoNameless };

/** From now on calls below the directory, which is absolute, are counted; that one has the fault. */
void Arm(const QByteArray& directory, Support support, Fault fault, int call);
/** Back to normal. Whether there was such a call. */
bool Disarm();
/**
 * The calls since Arm() that matter for what is on the disk: w writes content, n gives it a name, r
 * one that replaces another, f flushes content, d a directory, a all.
 */
QByteArray CallsMade();

} // namespace filefaults
