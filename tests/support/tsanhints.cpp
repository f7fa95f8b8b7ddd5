// Built with the thread sanitizer only. Qt's libraries are not, so the sanitizer cannot see that a
// thread which has been waited for is over: Qt tells that through a futex of its own. These two
// stand in front of Qt's functions and say it.

#include <QThread>

#include <dlfcn.h>

#include <sanitizer/tsan_interface.h>

namespace {

template <typename Function>
Function Next(const char* symbol)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

} // namespace

// The last thing that a worker of this library does on its thread.
void QThread::quit()
{
    static const auto real = Next<void (*)(QThread*)>("_ZN7QThread4quitEv");
    __tsan_release(this);
    real(this);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto real =
        Next<bool (*)(QThread*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = real(this, deadline);
    if (ended)
        __tsan_acquire(this);
    return ended;
}
