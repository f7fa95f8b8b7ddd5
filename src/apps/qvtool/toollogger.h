#pragma once

#include <common/logger/logger.h>

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QString>

namespace qvtool {

/**
 * Writes the library's log like the default logger, to a file if told so, and keeps the failures
 * that the library names only there, to tell the user the reason.
 *
 * It is the current logger for as long as it lives.
 */
class ToolLogger : public common::logger::Logger
{
public:
    ToolLogger() : previous_(common::logger::SetLogger(this)) {}
    ~ToolLogger() override { common::logger::SetLogger(previous_); }

    void Append(const common::logger::IMessage& message) override;

    /** Writes to the end of the file, too. */
    void WriteToFile(const QString& path, common::logger::IMessage::Priority level);
    /** Writes where a property file of log4cpp says, too. False if that cannot be used. */
    bool WriteAsConfigured(const QString& propertyFile);

    /** The text of the latest failure or warning of a function of that name, without its prefix. */
    QString LastFailure(const char* function) const;
    /**
     * The text of the first failure since it was asked for, a job's most specific one, with the
     * system's reason if that was logged.
     */
    QString TakeFirstFailure();

    Q_DISABLE_COPY_MOVE(ToolLogger)

private:
    common::logger::ILogger& Backend();

    common::logger::ILogger* previous_;
    common::logger::ILogger* backend_ = nullptr;
    mutable QMutex mutex_;                // the library's workers log, too
    QHash<QByteArray, QString> failures_; // by function; without one, the first of all
};

} // namespace qvtool
