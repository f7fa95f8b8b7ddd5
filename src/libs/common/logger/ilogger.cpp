#include "common/logger/ilogger.h"

#include "common/logger/logger.h"

#include <utility>

namespace common::logger {

namespace {

ILogger*& CurrentLogger()
{
    static ILogger* current = Logger::Instance();
    return current;
}

} // namespace

// Messages still come from static destructors after a static logger has gone.
ILogger::~ILogger()
{
    if (CurrentLogger() == this)
        CurrentLogger() = Logger::Instance();
}

ILogger* GetLogger()
{
    return CurrentLogger();
}

ILogger* SetLogger(ILogger* logger)
{
    return std::exchange(CurrentLogger(), logger);
}

} // namespace common::logger
