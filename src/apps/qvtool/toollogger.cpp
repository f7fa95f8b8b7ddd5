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

ToolLogger::ToolLogger() : next_(common::logger::SetLogger(this))
{
}

ToolLogger::~ToolLogger()
{
    common::logger::SetLogger(next_);
}

QString ToolLogger::LastFailure(const char* function) const
{
    return failures_.value(function);
}

void ToolLogger::SetFailureListener(std::function<void(const QString&)> listener)
{
    listener_ = std::move(listener);
}

void ToolLogger::Append(const IMessage& message)
{
    next_->Append(message);
    if (message.Level() > IMessage::ERROR)
        return;
    const QString text = WithoutPrefix(message.Text());
    failures_.insert(message.Function(), text);
    if (listener_)
        listener_(text);
}

IMessage::Priority ToolLogger::GetLevel() const
{
    return next_->GetLevel();
}

void ToolLogger::SetLevel(IMessage::Priority level)
{
    next_->SetLevel(level);
}

bool ToolLogger::IsPositionEnabled() const
{
    return next_->IsPositionEnabled();
}

void ToolLogger::EnablePosition(bool on)
{
    next_->EnablePosition(on);
}

bool ToolLogger::Configure(const QString& configFile)
{
    return next_->Configure(configFile);
}

bool ToolLogger::Configure(IMessage::Priority level, unsigned int outputs, unsigned int format,
                           const QString& pattern, const QString& qtCategory,
                           const QString& configFile, const QString& logFile,
                           unsigned long maxFileSize, int maxBackupIndex)
{
    return next_->Configure(level, outputs, format, pattern, qtCategory, configFile, logFile,
                            maxFileSize, maxBackupIndex);
}

void ToolLogger::Destroy()
{
    delete this;
}

void ToolLogger::SetFileLoggingEnabled(bool on)
{
    next_->SetFileLoggingEnabled(on);
}

} // namespace qvtool
