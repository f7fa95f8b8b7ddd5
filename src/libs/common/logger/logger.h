#pragma once

#include "common/logger/ilogger.h"
#include "common/qvcommon_export.h"

#include <atomic>

namespace common::logger {

/**
 * The default logger: writes to Qt's message output, under the message's own category.
 *
 * It is current until the application installs another, and writes nothing until it has a level:
 * @code
 * common::logger::GetLogger()->SetLevel(common::logger::IMessage::DEBUG);
 * @endcode
 *
 * A line is the local time, the text and, if enabled, the source position:
 * "2026.05.01 12:00:00.000: text  (Load: file: src/libs/common/tools/jsonfile(40))". Priorities 0
 * to 3 become Qt's critical messages, 4 warning, 5 and 6 info, 7 debug. A level above DEBUG lets
 * every message pass, while GetLevel() then reads as NOTSET.
 *
 * Append() may run on several threads at once. Level and position may be changed meanwhile, which
 * other threads notice soon; everything else is set-up.
 */
class QVCOMMON_EXPORT Logger : public ILogger
{
public:
    Logger() = default;
    ~Logger() override;

    /** The one shared instance. Made on first use, lives as long as the process. */
    static Logger* Instance();

    void Append(const IMessage& message) override;
    IMessage::Priority GetLevel() const override;
    void SetLevel(IMessage::Priority level) override;
    bool IsPositionEnabled() const override;
    void EnablePosition(bool on) override;

    /** Does nothing and returns false: this logger reads no file. */
    bool Configure(const QString& configFile) override;

    /** Takes over level and format; the rest has no meaning here. Always true. */
    bool Configure(IMessage::Priority level, unsigned int outputs, unsigned int format,
                   const QString& pattern, const QString& qtCategory, const QString& configFile,
                   const QString& logFile, unsigned long maxFileSize, int maxBackupIndex) override;

    /** Deletes the logger: only for one made with @c new, never for Instance(). */
    void Destroy() override;

    /** Does nothing: this logger writes no file. */
    void SetFileLoggingEnabled(bool on) override;

private:
    friend bool BeginStatement(const ICategory* category, IMessage::Priority priority);
    QVCOMMON_NO_EXPORT bool Admits(IMessage::Priority priority) const;

    std::atomic<quint32> level_{0xFFFFFFFF};
    std::atomic<quint32> outputs_{0};
    std::atomic<quint32> format_{0};

    Q_DISABLE_COPY_MOVE(Logger)
};

} // namespace common::logger
