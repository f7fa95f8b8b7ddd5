#pragma once

#include <QString>

#include <QThread>

#include <cerrno>

namespace common {

constexpr int maxAttempts = 5;
constexpr unsigned long attemptPause = 50; // milliseconds

/** Logs a failed attempt in the name of that function of FileCommands. */
void LogAttempt(const char* function, const QString& failure, int attempt);

/**
 * The attempts of FileCommands: whether one of them succeeded. Otherwise errno is that of the last
 * one, if it set it. Describe gives the failure's text; it is asked for only after a failure.
 */
template <typename Operation, typename Describe>
bool Retry(const char* function, Operation operation, Describe describe)
{
    for (int attempt = 1; attempt <= maxAttempts; ++attempt) {
        if (attempt > 1)
            QThread::msleep(attemptPause);
        errno = 0;
        if (operation())
            return true;
        const int error = errno;
        LogAttempt(function, describe(), attempt);
        errno = error;
    }
    return false;
}

/** The texts of failures. */
inline QString FailedToCreateDirectory(const QString& path)
{
    return QStringLiteral("Failed to create directory '%1'").arg(path);
}

inline QString FailedToRemoveDirectory(const QString& path)
{
    return QStringLiteral("Failed to remove directory '%1'").arg(path);
}

inline QString FailedToRemoveFile(const QString& path)
{
    return QStringLiteral("Failed to remove file '%1'").arg(path);
}

inline QString FailedToCopyFile(const QString& source, const QString& destination)
{
    return QStringLiteral("Failed to copy file '%1' to '%2'").arg(source, destination);
}

inline QString FailedToCreateLink(const QString& link, const QString& target)
{
    return QStringLiteral("Failed to create link '%1' --> '%2'").arg(link, target);
}

} // namespace common
