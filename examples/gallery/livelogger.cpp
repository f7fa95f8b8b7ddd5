#include "livelogger.h"

using namespace common::logger;

LiveLogger::LiveLogger() : previous_(SetLogger(this))
{
}

LiveLogger::~LiveLogger()
{
    SetLogger(previous_);
}

void LiveLogger::Append(const IMessage& message)
{
    const ICategory* category = message.Category();
    Q_EMIT line(message.Level(), QString::fromUtf8(category ? category->name : ""), message.Text());
}
