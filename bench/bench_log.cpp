// A log line to a file and a line that the level drops, beside log4cpp directly and spdlog.

#include <common/logger/log.h>

#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <log4cpp/Category.hh>
#include <log4cpp/FileAppender.hh>
#include <log4cpp/PatternLayout.hh>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

using namespace common::logger;

namespace {

constexpr ICategory logCategory{"bench.log"};
constexpr char logSource[] = "bench/bench_log";

// Tmpfs where there is one: a disk's noise is larger than what is measured.
QString LogFile(const char* name)
{
    const QString shared = QStringLiteral("/dev/shm");
    static const QTemporaryDir directory((QDir(shared).exists() ? shared : QDir::tempPath()) +
                                         QStringLiteral("/bench-XXXXXX"));
    return directory.filePath(QString::fromLatin1(name));
}

std::string Url(const benchmark::State& state)
{
    const std::string start = "http://service.test/";
    const auto length = static_cast<std::size_t>(state.range(0));
    return start + std::string(length - start.size(), 'x');
}

void SetUpLibrary(IMessage::Priority level)
{
    SetLogger(GetLog4cpp());
    GetLogger()->Configure(level, fileOutput, patternFormat, {}, {}, {}, LogFile("library"), 0, 0);
}

void LogByLibrary(benchmark::State& state)
{
    const QString url = QString::fromStdString(Url(state));
    while (state.KeepRunning())
        QVLOG(DEBUG) << "Sending GET request to URL=" << url << ", try " << 3;
}

void LogByLog4cpp(benchmark::State& state)
{
    log4cpp::Category& category = log4cpp::Category::getInstance("bench.direct");
    const std::string url = Url(state);
    while (state.KeepRunning())
        category << log4cpp::Priority::DEBUG << "Sending GET request to URL=" << url << ", try "
                 << 3;
}

void LogBySpdlog(benchmark::State& state, spdlog::logger& logger)
{
    const std::string url = Url(state);
    while (state.KeepRunning())
        logger.debug("Sending GET request to URL={}, try {}", url, 3);
}

void LibraryLine(benchmark::State& state)
{
    SetUpLibrary(IMessage::DEBUG);
    LogByLibrary(state);
    GetLogger()->Configure(IMessage::DEBUG, 0, 0, {}, {}, {}, {}, 0, 0);
}

void Log4cppLine(benchmark::State& state)
{
    log4cpp::FileAppender appender("direct", LogFile("log4cpp").toStdString());
    auto* layout = new log4cpp::PatternLayout;
    layout->setConversionPattern("%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n");
    appender.setLayout(layout);
    log4cpp::Category& category = log4cpp::Category::getInstance("bench.direct");
    category.setPriority(log4cpp::Priority::DEBUG);
    category.setAdditivity(false); // root has the library's appender
    category.addAppender(appender);
    LogByLog4cpp(state);
    category.removeAppender(&appender);
}

// Flushed line by line, as by the other two.
void SpdlogLine(benchmark::State& state)
{
    const auto sink =
        std::make_shared<spdlog::sinks::basic_file_sink_mt>(LogFile("spdlog").toStdString());
    spdlog::logger logger("bench.direct", sink);
    logger.set_pattern("%Y.m.%d %H:%M:%S.%e %6l [%t] %n: %v");
    logger.set_level(spdlog::level::debug);
    logger.flush_on(spdlog::level::debug);
    LogBySpdlog(state, logger);
}

// What all of them pay: the line is there, and goes to the kernel.
void WrittenLine(benchmark::State& state)
{
    const std::string line =
        "2026.m.23 14:05:07.123  DEBUG [12345] bench.direct: Sending GET request to "
        "URL=" +
        Url(state) + ", try 3\n";
    const int file = open(qPrintable(LogFile("write")), O_WRONLY | O_CREAT | O_APPEND, 0600);
    while (state.KeepRunning()) {
        if (write(file, line.data(), line.size()) < 0)
            state.SkipWithError("failed");
    }
    close(file);
}

// Each thread on a processor of its own.
void Pin(const benchmark::State& state)
{
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(static_cast<unsigned>(state.thread_index()), &processors);
    sched_setaffinity(0, sizeof processors, &processors);
}

void LibraryDropped(benchmark::State& state)
{
    Pin(state);
    if (state.thread_index() == 0)
        SetUpLibrary(IMessage::ERROR);
    LogByLibrary(state);
}

void Log4cppDropped(benchmark::State& state)
{
    Pin(state);
    if (state.thread_index() == 0)
        log4cpp::Category::getInstance("bench.direct").setPriority(log4cpp::Priority::ERROR);
    LogByLog4cpp(state);
}

void SpdlogDropped(benchmark::State& state)
{
    Pin(state);
    static spdlog::logger logger("bench.dropped");
    if (state.thread_index() == 0)
        logger.set_level(spdlog::level::err);
    LogBySpdlog(state, logger);
}

} // namespace

BENCHMARK(LibraryLine)->Name("log-line/qvcommon")->Arg(25)->Arg(250)->Arg(2500);
BENCHMARK(Log4cppLine)->Name("log-line/log4cpp")->Arg(25)->Arg(250)->Arg(2500);
BENCHMARK(SpdlogLine)->Name("log-line/spdlog")->Arg(25)->Arg(250)->Arg(2500);
BENCHMARK(WrittenLine)->Name("log-line/write")->Arg(25)->Arg(250)->Arg(2500);
BENCHMARK(LibraryDropped)->Name("log-dropped/qvcommon")->Arg(25)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(Log4cppDropped)->Name("log-dropped/log4cpp")->Arg(25)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(SpdlogDropped)->Name("log-dropped/spdlog")->Arg(25)->ThreadRange(1, 2)->UseRealTime();

BENCHMARK_MAIN();
