#include "common/logger/ilogger.h"

#include "common/logger/logger.h"

#include <atomic>

namespace common::logger {

namespace {

// Atomic for the end of the process, when loggers go while other threads still log.
std::atomic<ILogger*>& CurrentLogger()
{
    static std::atomic<ILogger*> current{Logger::Instance()};
    return current;
}

} // namespace

// Messages still come from static destructors after a static logger has gone.
ILogger::~ILogger()
{
    ILogger* self = this;
    CurrentLogger().compare_exchange_strong(self, Logger::Instance());
}

ILogger* GetLogger()
{
    return CurrentLogger();
}

ILogger* SetLogger(ILogger* logger)
{
    return CurrentLogger().exchange(logger);
}

} // namespace common::logger
