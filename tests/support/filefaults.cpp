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
#include <unistd.h>

using namespace filefaults;

namespace {

constexpr char other = '-';

std::atomic<bool> isArmed{false};
std::mutex mutex; // of what follows: Qt's own threads read at any time
QByteArray root;
Support support = Support::Full;
Fault fault = Fault::Fails;
int faulty = 0;
int calls = 0;

QByteArray made; // calls, but for those of no matter

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

// Counts the call, and says whether it fails.
bool Fails(char call, int descriptor, const char* path = "", size_t* size = nullptr)
{
    if (!isArmed)
        return false;
    const std::lock_guard lock(mutex);
    if (!IsBelowRoot(descriptor, path))
        return false;
    ++calls;
    if (calls == faulty && fault == Fault::Killed)
        raise(SIGKILL);
    if (calls == faulty && fault == Fault::Shortened && size)
        *size = (*size + 1) / 2;
    const bool needsSpace = call == 'w' || call == 'n' || call == 'r';
    if ((calls == faulty && fault == Fault::Fails) ||
        (calls >= faulty &&
         (fault == Fault::DiskGone || (fault == Fault::DiskFull && needsSpace)))) {
        errno = EIO;
        return true;
    }
    if (call != other)
        made += call;
    return false;
}

bool IsMissing(Support needed, int error)
{
    if (!isArmed || support < needed)
        return false;
    errno = error;
    return true;
}

} // namespace

namespace filefaults {

void Arm(const QByteArray& directory, Support newSupport, Fault newFault, int call)
{
    const std::lock_guard lock(mutex);
    root = directory;
    support = newSupport;
    fault = newFault;
    faulty = call;
    calls = 0;
    made.clear();
    isArmed = true;
}

bool Disarm()
{
    isArmed = false;
    return calls >= faulty;
}

QByteArray CallsMade()
{
    return made;
}

} // namespace filefaults

#define FAIL_IF(condition)                                                                         \
    if (condition)                                                                                 \
    return -1

// NOLINTBEGIN(bugprone-macro-parentheses): lists of parameters and arguments have theirs.
#define OPEN(name, parameters, judged, arguments)                                                  \
    int name parameters                                                                            \
    {                                                                                              \
        FAIL_IF(Fails judged);                                                                     \
        FAIL_IF((flags & O_TMPFILE) == O_TMPFILE && IsMissing(Support::NoNameless, EOPNOTSUPP));   \
        va_list rest;                                                                              \
        va_start(rest, flags);                                                                     \
        const auto mode = va_arg(rest, mode_t); /* means nothing unless a file is made */          \
        va_end(rest);                                                                              \
        return NEXT(name) arguments;                                                               \
    }

#define CALL(name, judged, parameters, arguments)                                                  \
    int name parameters noexcept                                                                   \
    {                                                                                              \
        FAIL_IF(Fails judged);                                                                     \
        return NEXT(name) arguments;                                                               \
    }
// NOLINTEND(bugprone-macro-parentheses)

#pragma GCC visibility push(default)
extern "C" {

OPEN(open64, (const char* path, int flags, ...), (other, -1, path), (path, flags, mode))
OPEN(openat, (int at, const char* path, int flags, ...), (other, at, path), (at, path, flags, mode))

ssize_t read(int file, void* data, size_t size)
{
    FAIL_IF(Fails(other, file, "", &size));
    return NEXT(read)(file, data, size);
}

ssize_t write(int file, const void* data, size_t size)
{
    FAIL_IF(Fails('w', file, "", &size));
    return NEXT(write)(file, data, size);
}

int linkat(int at, const char* from, int toAt, const char* to, int flags) noexcept
{
    FAIL_IF((flags & AT_EMPTY_PATH) && IsMissing(Support::NamesByProc, ENOENT));
    FAIL_IF(Fails('n', toAt, to));
    return NEXT(linkat)(at, from, toAt, to, flags);
}

CALL(renameat, ('r', toAt, to), (int at, const char* from, int toAt, const char* to),
     (at, from, toAt, to))
CALL(renameat2, ('n', toAt, to), (int at, const char* from, int toAt, const char* to, unsigned f),
     (at, from, toAt, to, f))
CALL(unlinkat, (other, at, path), (int at, const char* path, int flags), (at, path, flags))
CALL(mkdirat, (other, at, path), (int at, const char* path, mode_t mode), (at, path, mode))

int fdatasync(int file)
{
    return Fails('f', file) ? -1 : 0;
}

int fsync(int file)
{
    return Fails('d', file) ? -1 : 0;
}

int syncfs(int file) noexcept
{
    return Fails('a', file) ? -1 : 0;
}

int nanosleep(const timespec*, timespec*)
{
    return 0;
}

} // extern "C"
#pragma GCC visibility pop
