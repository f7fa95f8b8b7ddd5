#include "toollogger.h"

#include <common/logger/l4cpp/logger.h>

namespace qvtool {

using namespace common::logger;

namespace {

// The library's lines begin with "[numbers]: " that tell objects apart.
QString WithoutPrefix(const QString& text)
{
    const int at = text.startsWith('[') ? text.indexOf("]: ") : -1;
    return at < 0 ? text : text.mid(at + 3);
}

} // namespace

void ToolLogger::Append(const IMessage& message)
{
    Logger::Append(message);
    if (backend_)
        backend_->Append(message);
    if (message.Level() > IMessage::NOTICE)
        return;
    const QMutexLocker lock(&mutex_);
    const QString text = WithoutPrefix(message.Text());
    failures_.insert(message.Function(), text);
    if (message.Level() <= IMessage::ERROR && !failures_.contains({}))
        failures_.insert({}, text);
}

ILogger& ToolLogger::Backend()
{
    backend_ = GetLog4cpp();
    // It takes over Qt's messages, which this logger writes to.
    qInstallMessageHandler(l4cpp::Logger::GetDeafaultMessageHandler());
    return *backend_;
}

void ToolLogger::WriteToFile(const QString& path, IMessage::Priority level)
{
    constexpr unsigned int format = patternFormat | positionFormat | functionFormat;
    Backend().Configure(level, fileOutput, format, "%d{%Y-%m-%d %H:%M:%S.%l} %6p [%5t] %c: %m%n",
                        {}, {}, path, 0, 1);
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

QString ToolLogger::TakeFirstFailure()
{
    const QMutexLocker lock(&mutex_);
    const QString reason = failures_.take("LogReason");
    const QString failure = failures_.take({});
    return reason.isEmpty() ? failure : QString("%1 (%2)").arg(failure, reason);
}

} // namespace qvtool
