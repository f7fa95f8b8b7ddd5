#include "common/logger/l4cpp/logger.h"

#include "common/logger/l4cpp/appenders_p.h"
#include "common/logger/l4cpp/layouts_p.h"
#include "common/logger/logger.h"
#include "common/logger/loggingguard_p.h"
#include "common/logger/positiontext_p.h"

#include <QDeadlineTimer>
#include <QFile>

#include <log4cpp/Category.hh>
#include <log4cpp/FileAppender.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PropertyConfigurator.hh>
#include <log4cpp/RollingFileAppender.hh>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

namespace common::logger {

namespace {

constexpr auto relaxed = std::memory_order_relaxed;
constexpr mode_t logFileMode = 0644;

constexpr int longestWait = 1000; // milliseconds for other threads at the process's exit

log4cpp::Priority::Value Log4cppPriority(IMessage::Priority level)
{
    return std::min<int>(level, IMessage::DEBUG) * 100;
}

IMessage::Priority PriorityOf(QtMsgType type)
{
    switch (type) {
    case QtWarningMsg:
        return IMessage::WARN;
    case QtCriticalMsg:
        return IMessage::ERROR;
    case QtFatalMsg:
        return IMessage::CRIT;
    default:
        return IMessage::DEBUG;
    }
}

// Never freed: Qt's messages may outlive the static objects.
QString& QtCategory()
{
    static auto* name = new QString;
    return *name;
}

// Counts a thread that is within log4cpp.
class Appending
{
public:
    explicit Appending(std::atomic<int>& count) : count_(count) { ++count_; }
    ~Appending() { --count_; }
    Q_DISABLE_COPY_MOVE(Appending)

private:
    std::atomic<int>& count_;
};

// A category found lately, to spare log4cpp's look-up, which takes a lock. Of trivial types, as the
// main thread logs beyond the end of its thread-local objects.
struct CategoryMemo
{
    char name[48];
    log4cpp::Category* category;
};

log4cpp::Category& FindCategory(const char* name)
{
    constexpr size_t memoCount = 16;
    thread_local CategoryMemo memos[memoCount];
    CategoryMemo& memo = memos[(reinterpret_cast<uintptr_t>(name) >> 3) % memoCount];
    if (memo.category && strcmp(memo.name, name) == 0)
        return *memo.category;

    log4cpp::Category& category = log4cpp::Category::getInstance(name);
    const size_t size = strlen(name) + 1;
    if (size <= sizeof memo.name) {
        memcpy(memo.name, name, size);
        memo.category = &category;
    }
    return category;
}

} // namespace

log4cpp::CategoryStream operator<<(log4cpp::Category& category, IMessage::Priority level)
{
    return category.getStream(Log4cppPriority(level));
}

ILogger* GetLog4cpp()
{
    return l4cpp::Logger::Instance();
}

namespace l4cpp {

Logger::Logger() : root(log4cpp::Category::getRoot())
{
    GetDeafaultMessageHandler();
}

Logger::~Logger()
{
    Retire();
}

// Never freed: other threads may be about to append when the process ends.
Logger* Logger::Instance()
{
    struct Keeper
    {
        Logger* const logger = new Logger;
        ~Keeper() { logger->Retire(); }
    };
    static const Keeper keeper;
    return keeper.logger;
}

// From here on nothing touches log4cpp, which is about to go itself.
void Logger::Retire()
{
    if (retired.exchange(true))
        return;
    if (GetLogger() == this)
        SetLogger(common::logger::Logger::Instance());
    qInstallMessageHandler(GetDeafaultMessageHandler());
    const QDeadlineTimer deadline(longestWait); // this thread itself may be the one
    while (appending > 0 && !deadline.hasExpired())
        std::this_thread::yield();
    SetFileAppender(nullptr, QString());
    for (auto& appender : configured)
        Park(std::move(appender));
    configured.clear();
}

QtMessageHandler Logger::GetDeafaultMessageHandler()
{
    static const QtMessageHandler previous = [] {
        const QtMessageHandler installed = qInstallMessageHandler(MessageHandler);
        if (installed != MessageHandler)
            return installed;
        qInstallMessageHandler(nullptr); // a client has installed it: Qt's own is the one before
        return qInstallMessageHandler(MessageHandler);
    }();
    return previous;
}

void Logger::MessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (LoggingGuard::IsActive())
        return GetDeafaultMessageHandler()(type, context, text);
    const LoggingGuard guard;

    const QByteArray name = QtCategory().toUtf8();
    const ICategory category{name.constData()};
    Message(GetLogger(), &category, PriorityOf(type), context.file, context.function, context.line)
        << text;
}

log4cpp::Category& Logger::getCategory(const ICategory* category)
{
    if (!category)
        return root;
    if (!category->name)
        throw std::logic_error("a log category has no name");
    return FindCategory(category->name);
}

log4cpp::Layout* Logger::getLayout(unsigned int layoutFormat, const QString& pattern)
{
    return MakeLayout(layoutFormat, pattern);
}

void Logger::Append(const IMessage& message)
{
    const Appending counted(appending);
    if (retired)
        return common::logger::Logger::Instance()->Append(message);
    const LoggingGuard guard;
    log4cpp::Category& category = getCategory(message.Category());
    const log4cpp::Priority::Value priority = Log4cppPriority(message.Level());
    if (category.isPriorityEnabled(priority))
        category.log(priority, message.Text().toStdString() +
                                   PositionText(*this, message, format.load(relaxed)));
}

IMessage::Priority Logger::GetLevel() const
{
    return IMessage::NOTSET;
}

void Logger::SetLevel(IMessage::Priority level)
{
    root.setPriority(Log4cppPriority(level));
}

bool Logger::IsPositionEnabled() const
{
    return format.load(relaxed) & positionFormat;
}

void Logger::EnablePosition(bool on)
{
    if (on)
        format.fetch_or(positionFormat, relaxed);
    else
        format.fetch_and(~positionFormat, relaxed);
}

bool Logger::Configure(const QString& configFile)
{
    if (configFile.isEmpty())
        return false;
    const log4cpp::AppenderSet before = AttachedByReference();
    bool succeeded = true;
    try {
        log4cpp::PropertyConfigurator::configure(QFile::encodeName(configFile).toStdString());
    } catch (...) {
        succeeded = false;
    }
    for (log4cpp::Appender* appender : AttachedByReference())
        succeeded = succeeded && (before.count(appender) > 0 || HasWritableLayout(appender));
    TakeOverAppenders(before, succeeded);
    return succeeded;
}

// log4cpp never frees the appenders that it makes for a property file, nor closes their files.
void Logger::TakeOverAppenders(const log4cpp::AppenderSet& before, bool keep)
{
    const log4cpp::AppenderSet attached = AttachedByReference();
    const auto detached =
        std::partition(configured.begin(), configured.end(), [&attached](const auto& appender) {
            return attached.count(appender.get()) > 0;
        });
    std::for_each(detached, configured.end(), [](auto& appender) { Park(std::move(appender)); });
    configured.erase(detached, configured.end());
    for (log4cpp::Appender* appender : attached) {
        if (before.count(appender) > 0)
            continue;
        auto owned = TakeOver(appender);
        LimitBackups(appender);
        if (keep)
            configured.push_back(std::move(owned));
        else
            Park(std::move(owned));
    }
}

bool Logger::Configure(IMessage::Priority level, unsigned int newOutputs, unsigned int newFormat,
                       const QString& pattern, const QString& qtCategory, const QString& configFile,
                       const QString& logFile, unsigned long maxFileSize, int maxBackupIndex)
{
    outputs = newOutputs;
    format = newFormat;
    QtCategory() = qtCategory;
    if (Configure(configFile))
        return true;

    SetLevel(level);
    if (outputs & consoleOutput) {
        auto* console = new log4cpp::OstreamAppender("console", &std::cout);
        console->setLayout(getLayout(format, pattern));
        root.addAppender(console);
    }
    // An old appender goes first: log4cpp keeps a register of appenders by their names.
    SetFileAppender(nullptr, QString());
    const std::string path = QFile::encodeName(logFile).toStdString();
    if (outputs & rollingFileOutput) {
        const auto backups = static_cast<unsigned int>(std::clamp(maxBackupIndex, 0, mostBackups));
        SetFileAppender(new log4cpp::RollingFileAppender("rollingfile", path, maxFileSize, backups,
                                                         true, logFileMode),
                        pattern);
    } else if (outputs & fileOutput) {
        SetFileAppender(new log4cpp::FileAppender("file", path, true, logFileMode), pattern);
    }
    return true;
}

// Root refers to the appender without owning it, and must be told before it goes.
void Logger::SetFileAppender(log4cpp::Appender* appender, const QString& pattern)
{
    if (fileAppender)
        root.removeAppender(fileAppender.data());
    fileAppender.reset(appender);
    if (!appender)
        return;
    appender->setLayout(getLayout(format, pattern));
    root.addAppender(*appender);
}

void Logger::Destroy()
{
    delete this;
}

void Logger::SetFileLoggingEnabled(bool on)
{
    if (!fileAppender)
        return;
    const bool attached = root.getAllAppenders().count(fileAppender.data()) > 0;
    if (attached && !on) {
        root.removeAppender(fileAppender.data());
        fileAppender->close();
    } else if (!attached && on) {
        fileAppender->reopen();
        root.addAppender(*fileAppender);
    }
}

} // namespace l4cpp

} // namespace common::logger
