#include "toollogger.h"

#include <common/logger/l4cpp/logger.h>

#include <utility>

namespace qvtool {

using namespace common::logger;

namespace {

constexpr int rollingBackups = 2;

// The library's lines begin with "[numbers]: " that tell objects apart.
QString WithoutPrefix(const QString& text)
{
    const auto end = QStringLiteral("]: ");
    const int at = text.startsWith(QLatin1Char('[')) ? text.indexOf(end) : -1;
    return at < 0 ? text : text.mid(at + end.size());
}

} // namespace

ToolLogger::ToolLogger() : previous_(common::logger::SetLogger(this))
{
}

ToolLogger::~ToolLogger()
{
    common::logger::SetLogger(previous_);
}

void ToolLogger::Append(const IMessage& message)
{
    Logger::Append(message);
    if (backend_)
        backend_->Append(message);
    if (message.Level() > IMessage::WARN)
        return;
    const QString text = WithoutPrefix(message.Text());
    {
        const QMutexLocker lock(&mutex_);
        failures_.insert(message.Function(), text);
        if (message.Level() > IMessage::ERROR)
            return;
        if (first_.isNull())
            first_ = text;
    }
    if (listener_)
        listener_(text);
}

common::logger::ILogger& ToolLogger::Backend()
{
    backend_ = common::logger::GetLog4cpp();
    // It takes over Qt's messages, which this logger writes to.
    qInstallMessageHandler(common::logger::l4cpp::Logger::GetDeafaultMessageHandler());
    return *backend_;
}

void ToolLogger::ConfigureBackend(IMessage::Priority level, unsigned int output,
                                  const QString& path, unsigned long maxSize)
{
    constexpr unsigned int format = patternFormat | positionFormat | functionFormat;
    Backend().Configure(level, output, format, {}, {}, {}, path, maxSize, rollingBackups);
}

void ToolLogger::WriteToFile(const QString& path, IMessage::Priority level)
{
    ConfigureBackend(level, fileOutput, path, 0);
}

void ToolLogger::WriteToRollingFile(const QString& path, unsigned long maxSize)
{
    ConfigureBackend(IMessage::DEBUG, rollingFileOutput, path, maxSize);
}

bool ToolLogger::WriteAsConfigured(const QString& propertyFile)
{
    return Backend().Configure(propertyFile);
}

QString ToolLogger::LastFailure(const char* function) const
{
    const QMutexLocker lock(&mutex_);
    return failures_.value(function);
}

QString ToolLogger::FirstFailure() const
{
    const QMutexLocker lock(&mutex_);
    return first_;
}

void ToolLogger::SetFailureListener(std::function<void(const QString&)> listener)
{
    listener_ = std::move(listener);
}

} // namespace qvtool
