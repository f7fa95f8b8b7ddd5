#pragma once

#include <QtGlobal>

namespace common::logger {

/**
 * Marks that this thread is within a logger. What it says through Qt meanwhile, be it the line of
 * the default logger, must not be logged in turn.
 */
class LoggingGuard
{
public:
    LoggingGuard();
    ~LoggingGuard();

    static bool IsActive();

    Q_DISABLE_COPY_MOVE(LoggingGuard)

private:
    bool outer_;
};

} // namespace common::logger
