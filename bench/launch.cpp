// Runs a command and prints what it took: seconds, seconds of processor time, peak memory in KiB.
// Small on purpose: the peak that the kernel tells of a process includes what its parent had at the
// fork, so a script cannot measure its children itself.

#include <cstdio>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

double Now()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double Seconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

[[noreturn]] void Execute(char** command)
{
    const int null = open("/dev/null", O_RDWR);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    execvp(command[0], command);
    _exit(127);
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc < 2)
        return 2;
    const double start = Now();
    const pid_t child = fork();
    if (child == 0)
        Execute(argv + 1);
    int status = 0;
    rusage usage = {};
    if (child < 0 || wait4(child, &status, 0, &usage) != child)
        return 2;
    const double processor = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
    std::printf("%.6f %.6f %ld\n", Now() - start, processor, usage.ru_maxrss);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
