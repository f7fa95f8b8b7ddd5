// Built with the thread sanitizer only. Qt's libraries are not, so the sanitizer cannot see that a
// thread which has been waited for is over: Qt tells that through a futex of its own. These two
// stand in front of Qt's functions and say it.

#include <QThread>

#include <dlfcn.h>

#include <sanitizer/tsan_interface.h>

// The last thing that a worker of this library does on its thread.
void QThread::quit()
{
    static const auto real =
        reinterpret_cast<void (*)(QThread*)>(dlsym(RTLD_NEXT, "_ZN7QThread4quitEv"));
    __tsan_release(this);
    real(this);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto real = reinterpret_cast<bool (*)(QThread*, QDeadlineTimer)>(
        dlsym(RTLD_NEXT, "_ZN7QThread4waitE14QDeadlineTimer"));
    const bool ended = real(this, deadline);
    if (ended)
        __tsan_acquire(this);
    return ended;
}
