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
};

/** What the file system can do: not all of them make files without a name, or give them one. */
enum class Support { Full, NamesByProc, NoNameless };

struct Plan
{
    Support support = Support::Full;
    Fault fault = Fault::Fails;
    int call = 0; ///< the number of the one with the fault
};

/** From now on calls below the current directory are counted, and follow the plan. */
void Arm(const Plan& plan);
/** Back to normal. Whether there was such a call. */
bool Disarm();
/**
 * The calls since Arm() that matter for what is on the disk: w writes content, n gives it a name, r
 * one that replaces another, f flushes content, d a directory, a all.
 */
QByteArray CallsMade();

} // namespace filefaults
