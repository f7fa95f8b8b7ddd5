#pragma once

#include <common/logger/ilogger.h>

#include <QByteArray>
#include <QHash>
#include <QString>

#include <functional>

namespace qvtool {

/**
 * Passes the library's log on to the logger that was current, and keeps the failures that the
 * library names only there, to tell the user the reason.
 *
 * It is the current logger for as long as it lives.
 */
class ToolLogger : public common::logger::ILogger
{
public:
    ToolLogger();
    ~ToolLogger() override;

    /** The text of the latest failure that a function of that name logged, without its prefix. */
    QString LastFailure(const char* function) const;

    /** Calls the listener with each failure, too. */
    void SetFailureListener(std::function<void(const QString&)> listener);

    void Append(const common::logger::IMessage& message) override;
    common::logger::IMessage::Priority GetLevel() const override;
    void SetLevel(common::logger::IMessage::Priority level) override;
    bool IsPositionEnabled() const override;
    void EnablePosition(bool on) override;
    bool Configure(const QString& configFile) override;
    bool Configure(common::logger::IMessage::Priority level, unsigned int outputs,
                   unsigned int format, const QString& pattern, const QString& qtCategory,
                   const QString& configFile, const QString& logFile, unsigned long maxFileSize,
                   int maxBackupIndex) override;
    void Destroy() override;
    void SetFileLoggingEnabled(bool on) override;

    Q_DISABLE_COPY_MOVE(ToolLogger)

private:
    common::logger::ILogger* next_;
    QHash<QByteArray, QString> failures_;
    std::function<void(const QString&)> listener_;
};

} // namespace qvtool
