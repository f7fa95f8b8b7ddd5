// What a log line costs, to a file and dropped, beside the same line by log4cpp directly.

#include <common/logger/log.h>

#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <log4cpp/Category.hh>
#include <log4cpp/FileAppender.hh>
#include <log4cpp/PatternLayout.hh>

using namespace common::logger;

namespace {

constexpr ICategory logCategory{"bench.log"};
constexpr char logSource[] = "bench/bench_log";
constexpr char pattern[] = "%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n";

// Tmpfs where there is one: a disk's noise is larger than what is measured.
QString LogFile(const char* name)
{
    const QString shared = QStringLiteral("/dev/shm");
    static const QTemporaryDir directory((QDir(shared).exists() ? shared : QDir::tempPath()) +
                                         QStringLiteral("/bench-XXXXXX"));
    return directory.filePath(QString::fromLatin1(name));
}

void SetUpLibrary(IMessage::Priority level)
{
    SetLogger(GetLog4cpp());
    GetLogger()->Configure(level, 0x4, 0x100, {}, {}, {}, LogFile("library"), 0, 0);
}

void LibraryLine(benchmark::State& state)
{
    SetUpLibrary(IMessage::DEBUG);
    const QString url = QStringLiteral("http://service.test/index");
    while (state.KeepRunning())
        QVLOG(DEBUG) << "Sending GET request to URL=" << url << ", try " << 3;
    GetLogger()->Configure(IMessage::DEBUG, 0, 0, {}, {}, {}, {}, 0, 0);
}

void Log4cppLine(benchmark::State& state)
{
    log4cpp::FileAppender appender("direct", LogFile("log4cpp").toStdString());
    auto* layout = new log4cpp::PatternLayout;
    layout->setConversionPattern(pattern);
    appender.setLayout(layout);
    log4cpp::Category& category = log4cpp::Category::getInstance("bench.direct");
    category.setPriority(log4cpp::Priority::DEBUG);
    category.setAdditivity(false); // root has the library's appender
    category.addAppender(appender);
    const std::string url = "http://service.test/index";
    while (state.KeepRunning())
        category << log4cpp::Priority::DEBUG << "Sending GET request to URL=" << url << ", try "
                 << 3;
    category.removeAppender(&appender);
}

void LibraryDropped(benchmark::State& state)
{
    if (state.thread_index() == 0)
        SetUpLibrary(IMessage::ERROR);
    const QString url = QStringLiteral("http://service.test/index");
    while (state.KeepRunning())
        QVLOG(DEBUG) << "Sending GET request to URL=" << url << ", try " << 3;
}

void Log4cppDropped(benchmark::State& state)
{
    log4cpp::Category& category = log4cpp::Category::getInstance("bench.direct");
    if (state.thread_index() == 0)
        category.setPriority(log4cpp::Priority::ERROR);
    const std::string url = "http://service.test/index";
    while (state.KeepRunning())
        category << log4cpp::Priority::DEBUG << "Sending GET request to URL=" << url << ", try "
                 << 3;
}

} // namespace

BENCHMARK(LibraryLine);
BENCHMARK(Log4cppLine);
BENCHMARK(LibraryDropped)->ThreadRange(1, 2);
BENCHMARK(Log4cppDropped)->ThreadRange(1, 2);

BENCHMARK_MAIN();
