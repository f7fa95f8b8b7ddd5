#pragma once

#include "common/logger/message.h"
#include "common/qvcommon_export.h"

#include <QString>

namespace common::logger {

/** @name Outputs of ILogger::Configure() */
///@{
inline constexpr unsigned int consoleOutput = 0x1;     ///< the standard output
inline constexpr unsigned int fileOutput = 0x4;        ///< a log file
inline constexpr unsigned int rollingFileOutput = 0x8; ///< of limited size; wins over fileOutput
///@}

/** @name Formats of ILogger::Configure() */
///@{
inline constexpr unsigned int positionFormat = 0x1;  ///< the source position at each line's end
inline constexpr unsigned int functionFormat = 0x2;  ///< the function's name with it
inline constexpr unsigned int patternFormat = 0x100; ///< the layout of the pattern; wins over both
inline constexpr unsigned int simpleFormat = 0x200;  ///< the simple layout of log4cpp
inline constexpr unsigned int basicFormat = 0x400;   ///< its basic layout; wins over simpleFormat
///@}

/**
 * A destination of log messages.
 *
 * Implement it to route the log elsewhere and install the object with SetLogger():
 * @code
 * ForwardingLogger logger;
 * common::logger::ILogger* previous = common::logger::SetLogger(&logger);
 * common::logger::SetLogger(previous);
 * @endcode
 *
 * Append() may be called from any thread, from several at once. The built-in loggers also ask
 * IsPositionEnabled() there, and take a changed level or position at any time. Everything else is
 * set-up, meant for program start before other threads log.
 *
 * Log statements of other threads are dropped once the thread that ends the process destroys the
 * static objects that there were when the first message was built; what is made later goes before.
 * Statements that had begun are waited for, a second at most. Messages that are built otherwise,
 * and what other threads say through Qt by then, are not protected: end or join such threads before
 * main() returns.
 *
 * The order of the virtual functions is part of the binary interface.
 */
class QVCOMMON_EXPORT ILogger
{
public:
    /**
     * Emits one message, or drops it. The message lives only for this call. Must not throw.
     *
     * The text may hold what a server or a file name says, newlines and control characters too.
     */
    virtual void Append(const IMessage& message) = 0;

    /** The threshold: messages of a higher number are dropped. NOTSET when none was set. */
    virtual IMessage::Priority GetLevel() const = 0;
    /** Sets the threshold. */
    virtual void SetLevel(IMessage::Priority level) = 0;

    /** Whether the source position is written with each message. */
    virtual bool IsPositionEnabled() const = 0;
    /** Switches that on or off. */
    virtual void EnablePosition(bool on) = 0;

    /** Configures from a file. True when the file was used, false when nothing came of it. */
    virtual bool Configure(const QString& configFile) = 0;

    /**
     * Configures from parameters; tries Configure(configFile) first, and where that succeeds it
     * decides on level, outputs and layout.
     *
     * @param level          threshold, as for SetLevel()
     * @param outputs        outputs as above, combined: consoleOutput | fileOutput
     * @param format         formats as above, combined: patternFormat | positionFormat
     * @param pattern        layout pattern; empty for the built-in one
     * @param qtCategory     category under which Qt's own messages are logged
     * @param configFile     configuration file, tried first
     * @param logFile        path of the log file
     * @param maxFileSize    size in bytes at which a rolling file is rolled
     * @param maxBackupIndex number of rolled files that are kept
     * @return whether the logger could be configured
     */
    virtual bool Configure(IMessage::Priority level, unsigned int outputs, unsigned int format,
                           const QString& pattern, const QString& qtCategory,
                           const QString& configFile, const QString& logFile,
                           unsigned long maxFileSize, int maxBackupIndex) = 0;

    /** Disposes of the logger; it must not be used afterwards. */
    virtual void Destroy() = 0;

    /** Switches the file output on or off, where the logger has one. */
    virtual void SetFileLoggingEnabled(bool on) = 0;

    /** A logger that is destroyed while it is current gives way to the default logger. */
    virtual ~ILogger();
};

/**
 * The process-wide current logger: the default logger (Logger::Instance()) until another is set.
 *
 * Never fails; null only after SetLogger(nullptr).
 */
QVCOMMON_EXPORT ILogger* GetLogger();

/**
 * Makes @p logger current and returns the one that was.
 *
 * Neither is owned, configured or destroyed. Null silences all logging. Call it at program start,
 * before other threads log: one that is about to write may still hold the logger that was.
 */
QVCOMMON_EXPORT ILogger* SetLogger(ILogger* logger);

/**
 * Begins a log statement, if the current logger may want it. The message that is built next on this
 * thread, by the constructor without a logger, ends it. Not a test of the level: after true, a
 * message must be built.
 *
 * @return false if nothing is to be built: there is no logger, or it is one of the two built-in
 *         ones (no subclass) and would drop that priority, or another thread has begun to end the
 *         process
 */
QVCOMMON_EXPORT bool BeginStatement(const ICategory* category, IMessage::Priority priority);

/**
 * The process-wide logger on log4cpp (l4cpp::Logger::Instance()): console, file, rolling file.
 *
 * The first call makes it and routes Qt's own messages into the current logger. It does not become
 * current by itself: call SetLogger(GetLog4cpp()) and one of its Configure().
 */
QVCOMMON_EXPORT ILogger* GetLog4cpp();

} // namespace common::logger
