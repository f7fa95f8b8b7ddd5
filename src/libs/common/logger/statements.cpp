#include "common/logger/statements_p.h"

#include "common/logger/l4cpp/logger.h"
#include "common/logger/logger.h"

#include <QDeadlineTimer>

#include <atomic>
#include <chrono>
#include <optional>
#include <thread>
#include <typeinfo>

#include <linux/membarrier.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace common::logger {

namespace {

constexpr int longestWait = 1000; // milliseconds for other threads
constexpr std::chrono::microseconds shortPause(100);
constexpr std::chrono::milliseconds longestStore(1); // until others see it, at a guess
constexpr size_t cacheLine = 64;

// What a thread tells the others. Never freed, but taken over by later threads.
struct alignas(cacheLine) Visitor
{
    std::atomic<int> depth{0}; // of statements; written by its thread only
    std::atomic<bool> taken{true};
    Visitor* next = nullptr;
};

std::atomic<Visitor*> visitors{nullptr};
std::atomic<Visitor*> exiting{nullptr};
thread_local Visitor* own = nullptr;

void Free(Visitor& visitor)
{
    visitor.depth.store(0, std::memory_order_relaxed);
    visitor.taken.store(false, std::memory_order_release);
}

void GiveBack(void* visitor)
{
    own = nullptr; // a statement of a later destructor registers the thread anew
    Free(*static_cast<Visitor*>(visitor));
}

// A child has only the thread that forked.
void ForgetOthers()
{
    for (Visitor* visitor = visitors; visitor; visitor = visitor->next) {
        if (visitor != own)
            Free(*visitor);
    }
}

// Not a thread-local object: the thread may log beyond the end of those. There may be no key left;
// then the visitors of threads that have ended are not used again.
std::optional<pthread_key_t> Key()
{
    static const auto key = []() -> std::optional<pthread_key_t> {
        pthread_atfork(nullptr, nullptr, ForgetOthers);
        pthread_key_t made = 0;
        if (pthread_key_create(&made, GiveBack) != 0)
            return std::nullopt;
        return made;
    }();
    return key;
}

Visitor* TakeOver()
{
    for (Visitor* visitor = visitors; visitor; visitor = visitor->next) {
        bool taken = false;
        if (visitor->taken.compare_exchange_strong(taken, true))
            return visitor;
    }
    return nullptr;
}

Visitor* Make()
{
    auto* visitor = new Visitor;
    visitor->next = visitors;
    while (!visitors.compare_exchange_weak(visitor->next, visitor)) {
    }
    return visitor;
}

Q_NEVER_INLINE Visitor* Register()
{
    Visitor* visitor = TakeOver();
    own = visitor ? visitor : Make();
    if (const auto key = Key())
        pthread_setspecific(*key, own);
    return own;
}

Visitor& Own()
{
    return own ? *own : *Register();
}

// The two sides of the protocol: a thread stores its depth, then looks whether the process exits;
// the exiting thread stores that, then looks at the depths. The barrier between the first two is
// the kernel's, asked for by AwaitStores().
void Enter(Visitor& visitor)
{
    const int depth = visitor.depth.load(std::memory_order_relaxed);
    visitor.depth.store(depth + 1, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

void Leave(Visitor& visitor)
{
    const int depth = visitor.depth.load(std::memory_order_relaxed);
    visitor.depth.store(depth - 1, std::memory_order_release);
}

bool IsExitOfAnother(const Visitor& visitor)
{
    const Visitor* first = exiting.load(std::memory_order_acquire);
    return first && first != &visitor;
}

// When the library is loaded: once there are other threads, this takes milliseconds.
[[maybe_unused]] const bool isBarrierRegistered =
    syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;

// The first command takes microseconds, the second takes milliseconds.
void AwaitStores()
{
    for (const int command : {MEMBARRIER_CMD_PRIVATE_EXPEDITED, MEMBARRIER_CMD_GLOBAL}) {
        if (syscall(SYS_membarrier, command, 0, 0) == 0)
            return;
    }
    std::this_thread::sleep_for(longestStore);
}

void AwaitOthers()
{
    const Visitor* self = &Own();
    if (visitors.load()->next)
        AwaitStores();
    const QDeadlineTimer deadline(longestWait);
    for (Visitor* visitor = visitors; visitor; visitor = visitor->next) {
        while (visitor != self && visitor->depth > 0 && !deadline.hasExpired())
            std::this_thread::sleep_for(shortPause);
    }
}

} // namespace

bool BeginStatement(const ICategory* category, IMessage::Priority priority)
{
    const auto admits = [=](const ILogger* logger) {
        if (!logger)
            return false;
        const std::type_info* type = &typeid(*logger);
        if (type == &typeid(l4cpp::Logger))
            return static_cast<const l4cpp::Logger*>(logger)->Admits(category, priority);
        return type != &typeid(Logger) || static_cast<const Logger*>(logger)->Admits(priority);
    };
    Visitor& visitor = Own();
    Enter(visitor);
    if (!IsExitOfAnother(visitor) && admits(GetLogger()))
        return true;
    Leave(visitor);
    return false;
}

void EnterStatement()
{
    Enter(Own());
}

void LeaveStatement()
{
    Leave(Own());
}

void AwaitStatements()
{
    if (!exiting)
        AwaitOthers();
}

void BeginExit()
{
    Visitor* nobody = nullptr;
    if (exiting.compare_exchange_strong(nobody, &Own()))
        AwaitOthers();
}

void WatchExit()
{
    struct Watch
    {
        ~Watch() { BeginExit(); }
    };
    static const Watch watch;
}

} // namespace common::logger
