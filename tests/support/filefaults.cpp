#undef _FORTIFY_SOURCE // with it some of these calls are macros or inline functions
#include "support/filefaults.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <mutex>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace filefaults;

namespace {

std::mutex mutex; // of these two: Qt's own threads read at any time
QByteArray root;
Fault armed = {};
std::atomic<bool> isArmed{false};
std::atomic<int> calls{0};
std::atomic<int> failures{0};
std::atomic<bool> namelessAllowed{true};

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

bool IsBelowRoot(int descriptor, const char* path)
{
    if (path[0] == '/')
        return QByteArray(path).startsWith(root);
    char directory[PATH_MAX] = {};
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(descriptor);
    return readlink(link.constData(), directory, sizeof directory - 1) > 0 &&
           QByteArray(directory).startsWith(root);
}

enum class Verdict { HandOn, Shorten, Fail };

// Counts the call if it is one of those meant, and tells what becomes of it.
Verdict Judge(Call call, int descriptor, const char* path = "")
{
    if (!isArmed)
        return Verdict::HandOn;
    const std::lock_guard lock(mutex);
    if ((armed.call != call && armed.call != Any) || !IsBelowRoot(descriptor, path))
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

} // namespace

namespace filefaults {

void Arm(const QByteArray& directory, const Fault& fault)
{
    const std::lock_guard lock(mutex);
    root = directory;
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

void AllowNameless(bool allow)
{
    namelessAllowed = allow;
}

} // namespace filefaults

// NOLINTBEGIN(bugprone-macro-parentheses): lists of parameters and arguments have theirs.
#define FAIL_IF_TOLD(...)                                                                          \
    if (Judge(__VA_ARGS__) == Verdict::Fail)                                                       \
    return -1

// A call of the same parameters that only may fail.
#define MAY_FAIL(name, call, judged, parameters, arguments)                                        \
    int name parameters noexcept                                                                   \
    {                                                                                              \
        FAIL_IF_TOLD judged;                                                                       \
        return NEXT(name) arguments;                                                               \
    }

#define MAY_OPEN(name, parameters, judged, arguments)                                              \
    int name parameters                                                                            \
    {                                                                                              \
        FAIL_IF_TOLD judged;                                                                       \
        if (!namelessAllowed && (flags & O_TMPFILE) == O_TMPFILE) {                                \
            errno = EOPNOTSUPP;                                                                    \
            return -1;                                                                             \
        }                                                                                          \
        va_list rest;                                                                              \
        va_start(rest, flags);                                                                     \
        const auto mode = va_arg(rest, mode_t); /* means nothing unless a file is made */          \
        va_end(rest);                                                                              \
        return NEXT(name) arguments;                                                               \
    }

// NOLINTEND(bugprone-macro-parentheses)

#pragma GCC visibility push(default)
extern "C" {

MAY_OPEN(open64, (const char* path, int flags, ...), (Open, -1, path), (path, flags, mode))
MAY_OPEN(openat, (int folder, const char* path, int flags, ...), (Open, folder, path),
         (folder, path, flags, mode))

ssize_t read(int file, void* data, size_t size)
{
    const Verdict verdict = Judge(Read, file);
    return verdict == Verdict::Fail
               ? -1
               : NEXT(read)(file, data, verdict == Verdict::Shorten ? (size + 1) / 2 : size);
}

ssize_t write(int file, const void* data, size_t size)
{
    const Verdict verdict = Judge(Write, file);
    return verdict == Verdict::Fail
               ? -1
               : NEXT(write)(file, data, verdict == Verdict::Shorten ? (size + 1) / 2 : size);
}

MAY_FAIL(linkat, Name, (Name, toFolder, to),
         (int folder, const char* from, int toFolder, const char* to, int flags),
         (folder, from, toFolder, to, flags))
MAY_FAIL(renameat, Name, (Name, toFolder, to),
         (int folder, const char* from, int toFolder, const char* to), (folder, from, toFolder, to))
MAY_FAIL(renameat2, Name, (Name, toFolder, to),
         (int folder, const char* from, int toFolder, const char* to, unsigned flags),
         (folder, from, toFolder, to, flags))
MAY_FAIL(symlinkat, Name, (Name, folder, path), (const char* target, int folder, const char* path),
         (target, folder, path))
MAY_FAIL(unlinkat, Remove, (Remove, folder, path), (int folder, const char* path, int flags),
         (folder, path, flags))
MAY_FAIL(unlink, Remove, (Remove, -1, path), (const char* path), (path))
MAY_FAIL(rmdir, Remove, (Remove, -1, path), (const char* path), (path))
MAY_FAIL(mkdirat, Make, (Make, folder, path), (int folder, const char* path, mode_t mode),
         (folder, path, mode))
MAY_FAIL(fchmod, Make, (Make, file), (int file, mode_t mode), (file, mode))

int fdatasync(int file)
{
    FAIL_IF_TOLD(Sync, file);
    return 0;
}

int fsync(int file)
{
    FAIL_IF_TOLD(Sync, file);
    return 0;
}

int syncfs(int file) noexcept
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
