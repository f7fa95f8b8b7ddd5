#include "toollogger.h"

#include <utility>

namespace qvtool {

using common::logger::IMessage;

namespace {

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
    if (message.Level() > IMessage::ERROR)
        return;
    const QString text = WithoutPrefix(message.Text());
    {
        const QMutexLocker lock(&mutex_);
        failures_.insert(message.Function(), text);
        if (first_.isNull())
            first_ = text;
    }
    if (listener_)
        listener_(text);
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
