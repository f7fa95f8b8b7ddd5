#undef _FORTIFY_SOURCE // with it some of these calls are macros or inline functions
#include "support/filefaults.h"

#include <QDir>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <mutex>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

using namespace filefaults;

namespace {

constexpr char other = '-';

std::atomic<bool> isArmed{false};
std::mutex mutex; // of what follows: Qt's own threads read at any time
QByteArray root;
Plan plan;
int calls = 0;
QByteArray made; // calls, but for those of no matter

// The call of this name that would be made without this file.
#define NEXT(name) reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))

bool IsBelowRoot(int descriptor, const char* path)
{
    if (descriptor == AT_FDCWD)
        return path[0] != '/' || QByteArray(path).startsWith(root);
    char directory[PATH_MAX] = {};
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(descriptor);
    return readlink(link.constData(), directory, sizeof directory - 1) > 0 &&
           QByteArray(directory).startsWith(root);
}

// Counts the call, and says whether it fails.
bool Fails(char call, int descriptor, const char* path = "", size_t* size = nullptr)
{
    if (!isArmed)
        return false;
    const std::lock_guard lock(mutex);
    if (!IsBelowRoot(descriptor, path))
        return false;
    const bool isFaulty = ++calls == plan.call;
    if (isFaulty && plan.fault == Fault::Shortened && size)
        *size = (*size + 1) / 2;
    const bool needsSpace = call == 'w' || call == 'n' || call == 'r';
    const bool isLasting =
        plan.fault == Fault::DiskGone || (plan.fault == Fault::DiskFull && needsSpace);
    if ((isFaulty && plan.fault == Fault::Fails) || (calls >= plan.call && isLasting)) {
        errno = EIO;
        return true;
    }
    if (call != other)
        made += call;
    return false;
}

bool IsMissing(Support needed, int error)
{
    if (!isArmed || plan.support < needed)
        return false;
    errno = error;
    return true;
}

} // namespace

void filefaults::Arm(const Plan& newPlan)
{
    const std::lock_guard lock(mutex);
    root = QFile::encodeName(QDir::currentPath());
    plan = newPlan;
    calls = 0;
    made.clear();
    isArmed = true;
}

bool filefaults::Disarm()
{
    isArmed = false;
    return calls >= plan.call;
}

QByteArray filefaults::CallsMade()
{
    return made;
}

#pragma GCC visibility push(default)
extern "C" {

int openat(int at, const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t); // means nothing unless a file is made
    va_end(rest);
    const bool isNameless = (flags & O_TMPFILE) == O_TMPFILE;
    const bool fails =
        Fails(other, at, path) || (isNameless && IsMissing(Support::NoNameless, EOPNOTSUPP));
    return fails ? -1 : NEXT(openat)(at, path, flags, mode);
}

int open64(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t);
    va_end(rest);
    return openat(AT_FDCWD, path, flags, mode);
}

ssize_t read(int file, void* data, size_t size)
{
    return Fails(other, file, "", &size) ? -1 : NEXT(read)(file, data, size);
}

ssize_t write(int file, const void* data, size_t size)
{
    return Fails('w', file, "", &size) ? -1 : NEXT(write)(file, data, size);
}

int linkat(int at, const char* from, int toAt, const char* to, int flags) noexcept
{
    const bool fails = ((flags & AT_EMPTY_PATH) && IsMissing(Support::NamesByProc, ENOENT)) ||
                       Fails('n', toAt, to);
    return fails ? -1 : NEXT(linkat)(at, from, toAt, to, flags);
}

int renameat(int at, const char* from, int toAt, const char* to) noexcept
{
    return Fails('r', toAt, to) ? -1 : NEXT(renameat)(at, from, toAt, to);
}

int renameat2(int at, const char* from, int toAt, const char* to, unsigned flags) noexcept
{
    return Fails('n', toAt, to) ? -1 : NEXT(renameat2)(at, from, toAt, to, flags);
}

int unlinkat(int at, const char* path, int flags) noexcept
{
    return Fails(other, at, path) ? -1 : NEXT(unlinkat)(at, path, flags);
}

int mkdirat(int at, const char* path, mode_t mode) noexcept
{
    return Fails(other, at, path) ? -1 : NEXT(mkdirat)(at, path, mode);
}

int fdatasync(int file)
{
    return -Fails('f', file);
}

int fsync(int file)
{
    return -Fails('d', file);
}

int syncfs(int file) noexcept
{
    return -Fails('a', file);
}

int nanosleep(const timespec*, timespec*)
{
    return 0;
}

} // extern "C"
#pragma GCC visibility pop
