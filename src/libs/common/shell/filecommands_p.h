#pragma once

#include <QString>

#include <QThread>

namespace common {

constexpr int maxAttempts = 5;
constexpr unsigned long attemptPause = 50; // milliseconds

/** Logs a failed attempt in the name of that function of FileCommands. */
void LogAttempt(const char* function, const QString& failure, int attempt);

/**
 * The attempts of FileCommands: whether one of them succeeded. Describe gives the failure's text; it
 * is asked for only after a failure.
 */
template <typename Operation, typename Describe>
bool Retry(const char* function, Operation operation, Describe describe)
{
    for (int attempt = 1; attempt <= maxAttempts; ++attempt) {
        if (attempt > 1)
            QThread::msleep(attemptPause);
        if (operation())
            return true;
        LogAttempt(function, describe(), attempt);
    }
    return false;
}

/** The texts of failures. */
QString FailedToCreateDirectory(const QString& path);
QString FailedToRemoveDirectory(const QString& path);
QString FailedToRemoveFile(const QString& path);
QString FailedToCopyFile(const QString& source, const QString& destination);
QString FailedToCreateLink(const QString& link, const QString& target);

} // namespace common
