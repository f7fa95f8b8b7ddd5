#include "common/shell/filejob_p.h"

namespace common {

void FileJob::Await(QThread* thread) const
{
    if (!thread)
        return;
    const bool running = thread->isRunning();
    if (running)
        QVLOG_FROM("Abort", DEBUG) << "Waiting for the completion of the " << noun << " thread...";
    thread->wait(); // a thread that is just finishing does not count as running
    if (running)
        QVLOG_FROM("Abort", DEBUG) << "Wait finished!";
}

bool FileJob::IsAborted(const QAtomicInt& flag, const char* function) const
{
    if (flag.loadRelaxed() == 0)
        return false;
    QVLOG_FROM(function, DEBUG) << "user abort detected!";
    return true;
}

} // namespace common
