#include "common/shell/filejob_p.h"

#include <cstring>

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

void FileJob::LogReason(int error) const
{
    if (error != 0)
        QVLOG(NOTICE) << std::strerror(error);
}

} // namespace common
