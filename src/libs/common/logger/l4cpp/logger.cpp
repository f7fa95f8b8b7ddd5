#include "common/logger/l4cpp/logger.h"

#include "common/logger/l4cpp/appenders_p.h"
#include "common/logger/l4cpp/layouts_p.h"
#include "common/logger/log.h"
#include "common/logger/logger.h"
#include "common/logger/loggingguard_p.h"
#include "common/logger/positiontext_p.h"
#include "common/logger/statements_p.h"

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
#include <utility>

namespace common::logger {

namespace {

constexpr auto relaxed = std::memory_order_relaxed;
constexpr mode_t logFileMode = 0644;

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

// Never freed: Qt's messages may outlive the static objects. In UTF-8, so that FindCategory() gets
// the same address each time.
QByteArray& QtCategory()
{
    static auto* name = new QByteArray;
    return *name;
}

// Spares log4cpp's look-up, which takes a lock. The place to look at comes from the address of the
// name, which is a literal as a rule; what is found there must have the name itself.
log4cpp::Category& FindCategory(const char* name)
{
    constexpr int bits = 10;
    constexpr size_t neighbours = 4;
    static std::atomic<log4cpp::Category*> found[(1 << bits) + neighbours - 1];
    const auto hash = reinterpret_cast<uintptr_t>(name) * UINT64_C(0x9E3779B97F4A7C15);
    std::atomic<log4cpp::Category*>* const first = &found[hash >> (64 - bits)];
    std::atomic<log4cpp::Category*>* place = first;
    for (; place < first + neighbours; ++place) {
        log4cpp::Category* category = place->load(std::memory_order_acquire);
        if (!category)
            break;
        if (strcmp(category->getName().c_str(), name) == 0)
            return *category;
    }
    log4cpp::Category& category = log4cpp::Category::getInstance(name);
    (place < first + neighbours ? place : first)->store(&category, std::memory_order_release);
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
        ~Keeper()
        {
            BeginExit();
            logger->Retire();
        }
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
    AwaitStatements();
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

    const QByteArray name = QtCategory();
    const ICategory category{name.constData()};
    if (BeginStatement(&category, PriorityOf(type)))
        Message(&category, PriorityOf(type), context.file, context.function, context.line) << text;
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

bool Logger::Admits(const ICategory* category, IMessage::Priority priority) const
{
    if (retired || (category && !category->name))
        return true; // Append() knows what to do
    const log4cpp::Category& found = category ? FindCategory(category->name) : root;
    return found.isPriorityEnabled(Log4cppPriority(priority));
}

void Logger::Append(const IMessage& message)
{
    const StatementScope scope;
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
    QtCategory() = qtCategory.toUtf8();
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
