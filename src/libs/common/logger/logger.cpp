#include "common/logger/logger.h"

#include "common/logger/debugtext_p.h"
#include "common/logger/loggingguard_p.h"
#include "common/logger/positiontext_p.h"

#include <QDateTime>
#include <QLoggingCategory>
#include <QMessageLogger>

namespace common::logger {

namespace {

constexpr auto relaxed = std::memory_order_relaxed;

// Never null: Qt would take a null name for "default".
const char* CategoryName(const IMessage& message)
{
    const ICategory* category = message.Category();
    return category && category->name ? category->name : "";
}

QDebug OpenStream(IMessage::Priority level, const QLoggingCategory& category)
{
    const QMessageLogger logger(nullptr, 0, nullptr);
    switch (level) {
    case IMessage::EMERG:
    case IMessage::ALERT:
    case IMessage::CRIT:
    case IMessage::ERROR:
        return logger.critical(category);
    case IMessage::WARN:
        return logger.warning(category);
    case IMessage::NOTICE:
    case IMessage::INFO:
        return logger.info(category);
    default:
        return logger.debug(category);
    }
}

} // namespace

Logger::~Logger() = default;

Logger* Logger::Instance()
{
    static auto* instance = new Logger; // never freed: static destructors log, too
    return instance;
}

void Logger::Append(const IMessage& message)
{
    if (!Admits(message.Level()))
        return;

    const LoggingGuard guard;
    const QString stamp =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy.MM.dd HH:mm:ss.zzz:"));
    const QLoggingCategory category(CategoryName(message));
    QDebug stream = OpenStream(message.Level(), category);
    WriteDebugText(stream, stamp.toUtf8().constData());
    WriteDebugText(stream, message.Text().toUtf8().constData());
    WriteDebugText(stream, PositionText(*this, message, format_.load(relaxed)).c_str());
}

bool Logger::Admits(IMessage::Priority priority) const
{
    return static_cast<qint32>(level_.load(relaxed)) >= priority;
}

IMessage::Priority Logger::GetLevel() const
{
    const quint32 level = level_.load(relaxed);
    return level < IMessage::NOTSET ? static_cast<IMessage::Priority>(level) : IMessage::NOTSET;
}

void Logger::SetLevel(IMessage::Priority level)
{
    level_.store(static_cast<quint32>(level), relaxed);
}

bool Logger::IsPositionEnabled() const
{
    return format_.load(relaxed) & positionFormat;
}

void Logger::EnablePosition(bool on)
{
    if (on)
        format_.fetch_or(positionFormat, relaxed);
    else
        format_.fetch_and(~positionFormat, relaxed);
}

bool Logger::Configure(const QString&)
{
    return false;
}

bool Logger::Configure(IMessage::Priority level, unsigned int outputs, unsigned int format,
                       const QString&, const QString&, const QString& configFile, const QString&,
                       unsigned long, int)
{
    outputs_.store(outputs, relaxed);
    format_.store(format, relaxed);
    if (!Configure(configFile))
        SetLevel(level);
    return true;
}

void Logger::Destroy()
{
    delete this;
}

void Logger::SetFileLoggingEnabled(bool)
{
}

} // namespace common::logger
