// A program that logs through the log4cpp backend up to its very end, for tst_log4cpp to watch.

#include <common/logger/l4cpp/logger.h>
#include <common/logger/log.h>
#include <common/logger/logger.h>

#include <QSemaphore>
#include <QString>
#include <QThread>

#include <cstdio>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

using namespace common::logger;

namespace {

constexpr ICategory logCategory{"client"};
constexpr char logSource[] = "logclient";

struct LogsWhenDestroyed
{
    const char* text;

    ~LogsWhenDestroyed()
    {
        QVLOG(ERROR) << text;
        qWarning("%s, by Qt", text);
    }
};

const LogsWhenDestroyed afterTheBackend{"after the backend"};

void PrintQtMessage(QtMsgType, const QMessageLogContext& context, const QString& text)
{
    fprintf(stderr, "%s: %s\n", context.category, qPrintable(text));
}

// The logger that writes through Qt is current, and Qt's messages come back to it.
int Loop(QtMessageHandler installedBefore)
{
    qInstallMessageHandler(installedBefore);
    GetLog4cpp();
    GetLogger()->SetLevel(IMessage::DEBUG);
    QVLOG(ERROR) << "once";
    qWarning("twice");
    return 0;
}

// A thread is amid a statement at the end, and does not notice it.
int LogFromThread(const QString& path)
{
    SetLogger(GetLog4cpp());
    GetLogger()->Configure(IMessage::DEBUG, fileOutput, 0, {}, {}, {}, path, 0, 0);
    static QSemaphore begun;
    std::thread([] {
        QVLOG_FROM("run", INFO) << (begun.release(), QThread::msleep(50), "late");
        for (;;)
            QVLOG_FROM("run", INFO) << "later still";
    }).detach();
    begun.acquire();
    return 0;
}

// One thread never ends its statement; a child has no such thread.
int ForkDuringStatement()
{
    SetLogger(GetLog4cpp());
    GetLogger()->SetLevel(IMessage::ERROR);
    QVLOG(ERROR) << "in main";
    static QSemaphore begun;
    std::thread([] { QVLOG_FROM("run", ERROR) << (begun.release(), pause()); }).detach();
    begun.acquire();
    const pid_t child = fork();
    if (child == 0)
        alarm(1);
    int status = 0;
    return child == 0 || waitpid(child, &status, 0) != child ? 0 : status;
}

} // namespace

int main(int argc, char* argv[])
{
    const QString mode = QString::fromLocal8Bit(argc > 1 ? argv[1] : "");
    const QString path = QString::fromLocal8Bit(argv[argc - 1]);
    if (mode == "loop")
        return Loop(argc > 2 ? l4cpp::Logger::MessageHandler : PrintQtMessage);
    if (mode == "thread")
        return LogFromThread(path);
    if (mode == "fork")
        return ForkDuringStatement();
    SetLogger(GetLog4cpp());
    GetLogger()->Configure(IMessage::DEBUG, consoleOutput | fileOutput, patternFormat,
                           "%p %c: %m%n", "qt", {}, path, 0, 0);
    static const LogsWhenDestroyed beforeTheBackend{"before the backend"};
    QVLOG(INFO) << "in main";
    qCritical("in main, by Qt");
    return 0;
}
