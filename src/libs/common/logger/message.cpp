#include "common/logger/message.h"

#include "common/logger/ilogger.h"
#include "common/logger/statements_p.h"

#include <QIODevice>

namespace common::logger {

namespace {

// Enough for most lines: growing piece by piece took a quarter of a statement's time.
constexpr int usualLength = 120;

} // namespace

// QTextStream only stores the address, so the string may still be unborn here.
Message::Stream::Stream() : QTextStream(&text_, QIODevice::ReadWrite)
{
    text_.reserve(usualLength);
}

Message::Stream::~Stream() = default;

Message::Message(ILogger* logger, const ICategory* category, Priority level, const char* file,
                 const char* function, int line)
    : logger_(logger),
      category_(category),
      level_(level),
      file_(file),
      function_(function),
      line_(line)
{
    EnterStatement();
}

// BeginStatement() has entered it.
Message::Message(const ICategory* category, Priority level, const char* file, const char* function,
                 int line)
    : Message(GetLogger(), category, level, file, function, line)
{
    LeaveStatement();
}

Message::~Message()
{
    if (level_ < NOTSET && logger_)
        logger_->Append(*this);
    WatchExit(); // by now the statement has made what it uses of Qt's static objects
    LeaveStatement();
}

IMessage::Priority Message::Level() const
{
    return level_;
}

const ICategory* Message::Category() const
{
    return category_;
}

const QString& Message::Text() const
{
    return stream_.Text();
}

int Message::Line() const
{
    return line_;
}

const char* Message::File() const
{
    return file_;
}

const char* Message::Function() const
{
    return function_;
}

} // namespace common::logger
