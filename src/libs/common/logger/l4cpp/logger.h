#pragma once

#include "common/logger/ilogger.h"
#include "common/qvcommon_export.h"

#include <QScopedPointer>
#include <QString>
#include <QtGlobal>

#include <atomic>
#include <memory>
#include <set>
#include <vector>

namespace log4cpp {
class Appender;
class Category;
class CategoryStream;
class Layout;
} // namespace log4cpp

namespace common::logger::l4cpp {

/**
 * The logger on log4cpp: console, file and rolling file, or whatever a property file says.
 *
 * @code
 * using namespace common::logger;
 * ILogger* log = GetLog4cpp();
 * SetLogger(log); // before anything logs
 * log->Configure(IMessage::INFO, rollingFileOutput, patternFormat | positionFormat,
 *                "%d{%Y-%m-%d %H:%M:%S.%l} %6p [%5t] %c: %m%n", "qt",
 *                config + "/log.properties", logs + "/client.log", 10'000'000, 5);
 * @endcode
 *
 * A message's category becomes the log4cpp category of the same name, its priority p the log4cpp
 * priority 100 p. The first logger of this class routes Qt's own messages (qDebug() and its kin)
 * to the current logger, under the category that Configure() is given. The first one that is
 * destroyed puts back the handler that was installed before, in place also of one that the client
 * has installed since, and for good: make no second logger beside Instance() that goes before it.
 *
 * Append() may run on several threads at once: log4cpp serialises the output, and each line is
 * written whole. When the process exits, Instance() waits for the lines that other threads have
 * begun, a second at most, and retires. Messages that come later go to the default logger, which
 * writes nothing unless it was given a level; log statements of other threads are dropped.
 * EnablePosition() may be called meanwhile, which other threads notice soon. Everything else is
 * set-up, meant for program start.
 *
 * @warning A property file decides which files are written, and where: take it from a place that
 * only those may write who may decide that.
 *
 * The operations that take or return log4cpp types are for clients that use log4cpp themselves.
 */
class QVCOMMON_EXPORT Logger : public ILogger
{
public:
    /**
     * Makes a logger on the root category that all instances share. Normally: Instance(). One made
     * with @c new must be destroyed before main() returns, as log4cpp goes soon after.
     */
    Logger();
    /** Puts back the Qt message handler, closes the log file. */
    ~Logger() override;

    /** The one shared instance; see GetLog4cpp(). */
    static Logger* Instance();

    /** Installs MessageHandler() if that has not happened yet, and returns the handler before. */
    static QtMessageHandler GetDeafaultMessageHandler();

    /**
     * Logs a message of Qt's: warnings as WARN, critical ones as ERROR, fatal ones as CRIT, all
     * others as DEBUG. A message that comes while the thread is logging another one of Qt's, or is
     * within one of the two built-in loggers (an appender speaks, the default logger writes), goes
     * to the handler that was installed before. What a logger of the client's own says through Qt
     * is logged in turn, once: do not speak through Qt for each message in Append().
     */
    static void MessageHandler(QtMsgType type, const QMessageLogContext& context,
                               const QString& text);

    /**
     * The log4cpp category of that name; the root category for null. Never freed.
     *
     * @throw std::logic_error if the category's name is null, which is an error in the program
     */
    log4cpp::Category& getCategory(const ICategory* category);

    /**
     * A new layout, owned by the caller.
     *
     * @param format  patternFormat, basicFormat or simpleFormat; the first of these that is set
     * @param pattern conversion pattern; empty for "%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n"
     * @return null if no bit is set, log4cpp refuses the pattern, a date in it can have 100 or more
     *         bytes or a width has five or more digits: the appender's own layout then
     */
    log4cpp::Layout* getLayout(unsigned int format, const QString& pattern);

    void Append(const IMessage& message) override;

    /** Always NOTSET: log4cpp keeps the levels. */
    IMessage::Priority GetLevel() const override;
    /**
     * Sets the level of the root category, NOTSET and above as DEBUG; categories of a property file
     * may have their own.
     */
    void SetLevel(IMessage::Priority level) override;

    bool IsPositionEnabled() const override;
    void EnablePosition(bool on) override;

    /**
     * Configures log4cpp from a property file. The appenders of an earlier one are closed when they
     * are replaced; one that a file declares, but attaches to no category, stays open for good. A
     * number of backups below 0 becomes 1, one above 100000 becomes that.
     *
     * @return whether that succeeded; false also for a pattern that getLayout() does not take. If
     *         not, levels may be changed and appenders gone, but none of the file's is attached
     */
    bool Configure(const QString& configFile) override;

    /**
     * Takes over the parameters; see ILogger. If the property file succeeds, it decides on level,
     * outputs and layout, while the position bits of @p format and @p qtCategory hold all the same.
     *
     * The log file is appended to; it replaces that of an earlier call. One that cannot be opened
     * or written gets no lines, without an error. A console appender is added to those of earlier
     * calls, so a second call doubles the lines there. A @p maxBackupIndex below 1 counts as 1, one
     * above 100000 as that; a @p maxFileSize of 0 rolls the file at each line.
     *
     * @return always true
     */
    bool Configure(IMessage::Priority level, unsigned int outputs, unsigned int format,
                   const QString& pattern, const QString& qtCategory, const QString& configFile,
                   const QString& logFile, unsigned long maxFileSize, int maxBackupIndex) override;

    /** Deletes the logger: only for one made with @c new, never for Instance(). */
    void Destroy() override;

    /**
     * Closes the log file of the last Configure() with parameters, or opens it again, also beside
     * the appenders of a property file that was read since, which this does not touch.
     */
    void SetFileLoggingEnabled(bool on) override;

private:
    friend bool common::logger::BeginStatement(const ICategory* category,
                                               IMessage::Priority priority);
    QVCOMMON_NO_EXPORT bool Admits(const ICategory* category, IMessage::Priority priority) const;
    QVCOMMON_NO_EXPORT void Retire();
    QVCOMMON_NO_EXPORT void TakeOverAppenders(const std::set<log4cpp::Appender*>& before,
                                              bool keep);
    QVCOMMON_NO_EXPORT void SetFileAppender(log4cpp::Appender* appender, const QString& pattern);

    log4cpp::Category& root;
    QScopedPointer<log4cpp::Appender> fileAppender;
    std::atomic<quint32> outputs{0};
    std::atomic<quint32> format{0};
    std::vector<std::unique_ptr<log4cpp::Appender>> configured; // by property files
    std::atomic<int> unused{0};                                 // keeps the layout
    std::atomic<bool> retired{false};

    Q_DISABLE_COPY_MOVE(Logger)
};

} // namespace common::logger::l4cpp

namespace common::logger {

/** Opens a stream of the log4cpp category at the log4cpp priority that @p level maps to. */
QVCOMMON_EXPORT log4cpp::CategoryStream operator<<(log4cpp::Category& category,
                                                   IMessage::Priority level);

} // namespace common::logger
