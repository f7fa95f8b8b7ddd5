#undef _FORTIFY_SOURCE // with it some of these calls are macros or inline functions
#include "support/filefaults.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace filefaults;

namespace {

constexpr unsigned long fileClone = 0x40049409; // FICLONE of <linux/fs.h>

QByteArray directory; // with a slash; these two change only while no job runs
Fault armed = {};
std::atomic<bool> isArmed{false};
std::atomic<int> calls{0};
std::atomic<int> failures{0};
std::atomic<bool> extrasAllowed{true};

template <typename Function>
Function Next(Function, const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// The call of this name that would be made without this file.
#define NEXT(name)                                                                                 \
    [] {                                                                                           \
        static const auto next = Next(&::name, #name);                                             \
        return next;                                                                               \
    }()

enum class Verdict { HandOn, Shorten, Fail };

// Counts the call if it is one of those meant, and tells what becomes of it.
Verdict Judge(Call call, const char* path)
{
    if (!isArmed || (armed.call != call && armed.call != Any) ||
        qstrncmp(path, directory.constData(), static_cast<uint>(directory.size())) != 0)
        return Verdict::HandOn;
    const int number = ++calls;
    if (number < armed.from || number > armed.to)
        return Verdict::HandOn;
    ++failures;
    if (armed.error == KillSelf)
        raise(SIGKILL);
    if (armed.error == Short)
        return Verdict::Shorten;
    errno = armed.error;
    return Verdict::Fail;
}

Verdict Judge(Call call, int descriptor)
{
    if (!isArmed)
        return Verdict::HandOn;
    char path[PATH_MAX] = {};
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(descriptor);
    return readlink(link.constData(), path, sizeof path - 1) > 0 ? Judge(call, path)
                                                                 : Verdict::HandOn;
}

size_t Part(Verdict verdict, size_t size)
{
    return verdict == Verdict::Shorten ? (size + 1) / 2 : size;
}

} // namespace

namespace filefaults {

const char* NameOf(Call call)
{
    static const char* const names[] = {"open",    "read",   "write",   "rename", "link",
                                        "symlink", "unlink", "rmdir",   "mkdir",  "sync",
                                        "clone",   "chmod",  "any call"};
    return names[call];
}

void Arm(const QByteArray& path, const Fault& fault)
{
    directory = path + '/';
    armed = fault;
    calls = 0;
    failures = 0;
    isArmed = true;
}

int Disarm()
{
    isArmed = false;
    return failures;
}

void AllowExtras(bool allow)
{
    extrasAllowed = allow;
}

} // namespace filefaults

#define FAIL_IF_TOLD(call, what)                                                                   \
    if (Judge(call, what) == Verdict::Fail)                                                        \
    return -1

#pragma GCC visibility push(default)
extern "C" {

int open64(const char* path, int flags, ...)
{
    FAIL_IF_TOLD(Open, path);
    if (!extrasAllowed && (flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t); // means nothing unless a file is made
    va_end(rest);
    return NEXT(open64)(path, flags, mode);
}

ssize_t read(int file, void* data, size_t size)
{
    const Verdict verdict = Judge(Read, file);
    return verdict == Verdict::Fail ? -1 : NEXT(read)(file, data, Part(verdict, size));
}

ssize_t write(int file, const void* data, size_t size)
{
    const Verdict verdict = Judge(Write, file);
    return verdict == Verdict::Fail ? -1 : NEXT(write)(file, data, Part(verdict, size));
}

ssize_t sendfile(int to, int from, off_t* offset, size_t size)
{
    if (!extrasAllowed) {
        errno = EINVAL;
        return -1;
    }
    const Verdict verdict = Judge(Clone, to);
    // Shortened, it would still be all of a small file.
    return verdict == Verdict::Fail
               ? -1
               : NEXT(sendfile)(to, from, offset, verdict == Verdict::Shorten ? 16384 : size);
}

int ioctl(int file, unsigned long request, ...) noexcept
{
    va_list rest;
    va_start(rest, request);
    void* argument = va_arg(rest, void*);
    va_end(rest);
    if (request == fileClone)
        FAIL_IF_TOLD(Clone, file);
    return NEXT(ioctl)(file, request, argument);
}

int rename(const char* from, const char* to) noexcept
{
    FAIL_IF_TOLD(Rename, to);
    return NEXT(rename)(from, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
              unsigned flags) noexcept
{
    FAIL_IF_TOLD(Rename, to);
    return NEXT(renameat2)(fromFolder, from, toFolder, to, flags);
}

int link(const char* from, const char* to) noexcept
{
    FAIL_IF_TOLD(Link, to);
    return NEXT(link)(from, to);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept
{
    FAIL_IF_TOLD(Link, to);
    return NEXT(linkat)(fromFolder, from, toFolder, to, flags);
}

int symlink(const char* target, const char* path) noexcept
{
    FAIL_IF_TOLD(Symlink, path);
    return NEXT(symlink)(target, path);
}

int unlink(const char* path) noexcept
{
    FAIL_IF_TOLD(Unlink, path);
    return NEXT(unlink)(path);
}

int rmdir(const char* path) noexcept
{
    FAIL_IF_TOLD(Rmdir, path);
    return NEXT(rmdir)(path);
}

int mkdir(const char* path, mode_t mode) noexcept
{
    FAIL_IF_TOLD(Mkdir, path);
    return NEXT(mkdir)(path, mode);
}

int chmod(const char* path, mode_t mode) noexcept
{
    FAIL_IF_TOLD(Chmod, path);
    return NEXT(chmod)(path, mode);
}

int fchmod(int file, mode_t mode) noexcept
{
    FAIL_IF_TOLD(Chmod, file);
    return NEXT(fchmod)(file, mode);
}

int fdatasync(int file)
{
    FAIL_IF_TOLD(Sync, file);
    return 0;
}

int nanosleep(const timespec*, timespec*)
{
    return 0;
}

} // extern "C"
#pragma GCC visibility pop
