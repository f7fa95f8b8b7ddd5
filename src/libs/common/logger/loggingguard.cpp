#include "common/logger/loggingguard_p.h"

#include <utility>

namespace common::logger {

namespace {

thread_local bool active = false;

} // namespace

LoggingGuard::LoggingGuard() : outer_(std::exchange(active, true))
{
}

LoggingGuard::~LoggingGuard()
{
    active = outer_;
}

bool LoggingGuard::IsActive()
{
    return active;
}

} // namespace common::logger
