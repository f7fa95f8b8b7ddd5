// A program that logs through the log4cpp backend up to its very end, for tst_log4cpp to watch.

#include <common/logger/log.h>
#include <common/logger/logger.h>

#include <QString>
#include <QtGlobal>

#include <cstring>

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

// The logger that writes through Qt is current, and Qt's messages come back to it.
int Loop()
{
    GetLog4cpp();
    GetLogger()->SetLevel(IMessage::DEBUG);
    QVLOG(ERROR) << "once";
    qWarning("twice");
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const bool loop = argc > 1 && strcmp(argv[1], "loop") == 0;
    if (loop)
        return Loop();
    if (argc < 2)
        return 2;

    SetLogger(GetLog4cpp());
    GetLogger()->Configure(IMessage::DEBUG, 0x5, 0x100, "%p %c: %m%n", "qt", {},
                           QString::fromLocal8Bit(argv[1]), 0, 0);
    static const LogsWhenDestroyed beforeTheBackend{"before the backend"};
    QVLOG(INFO) << "in main";
    qCritical("in main, by Qt");
    return 0;
}
