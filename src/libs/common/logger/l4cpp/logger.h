#pragma once

#include "common/logger/ilogger.h"
#include "common/qvcommon_export.h"

#include <QScopedPointer>
#include <QString>
#include <QtGlobal>

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
 * log->Configure(IMessage::INFO, 0x8, 0x101, QString(), "qt", "client-log.properties",
 *                "/var/log/client.log", 10 * 1024 * 1024, 5);
 * @endcode
 *
 * A message's category becomes the log4cpp category of the same name, its priority p the log4cpp
 * priority 100 p. While this logger exists, Qt's own messages (qDebug() and its kin) go to the
 * current logger, under the category that Configure() is given; the handler that was installed
 * before comes back with the destructor.
 *
 * The instance lives from its first use to the process's exit; messages that come later still go to
 * the default logger. Append() may run on several threads at once: log4cpp serialises the output,
 * and each line is written whole. Everything else is set-up, meant for program start.
 *
 * Only what clients normally need is said here; the log4cpp types are for those that use log4cpp
 * themselves and include its headers.
 */
class QVCOMMON_EXPORT Logger : public ILogger
{
public:
    /** Makes a logger on the root category that all instances share. Normally: Instance(). */
    Logger();
    /** Puts back the Qt message handler, closes the log file. */
    ~Logger() override;

    /** The one shared instance; see GetLog4cpp(). */
    static Logger* Instance();

    /** Installs MessageHandler() if that has not happened yet, and returns the handler before. */
    static QtMessageHandler GetDeafaultMessageHandler();

    /**
     * Logs a message of Qt's: warnings as WARN, critical ones as ERROR, fatal ones as CRIT, all
     * others as DEBUG. A message that comes from logging a message, on the same thread, goes to
     * the handler that was installed before.
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
     * @param format  0x100 pattern layout, 0x400 basic layout, 0x200 simple layout; the first of
     *                these that is set
     * @param pattern conversion pattern; empty for "%d{%Y.m.%d %H:%M:%S.%l} %6p [%5t] %c: %m%n"
     * @return null if no bit is set or log4cpp refuses the pattern: the appender's own layout then
     */
    log4cpp::Layout* getLayout(unsigned int format, const QString& pattern);

    void Append(const IMessage& message) override;

    /** Always NOTSET: log4cpp keeps the levels. */
    IMessage::Priority GetLevel() const override;
    /** Sets the level of the root category; categories of a property file may have their own. */
    void SetLevel(IMessage::Priority level) override;

    bool IsPositionEnabled() const override;
    void EnablePosition(bool on) override;

    /**
     * Configures log4cpp from a property file.
     *
     * @return whether that succeeded; log4cpp may have applied a part of the file if not
     */
    bool Configure(const QString& configFile) override;

    /**
     * Takes over the parameters, unless the property file succeeds; see ILogger.
     *
     * The log file is appended to; it replaces that of an earlier call. One that cannot be opened
     * or written gets no lines, without an error. A console appender is added to those of earlier
     * calls, so a second call doubles the lines there. A negative @p maxBackupIndex counts as 0,
     * which log4cpp takes for 1; a @p maxFileSize of 0 rolls the file at each line.
     *
     * @return always true
     */
    bool Configure(IMessage::Priority level, unsigned int outputs, unsigned int format,
                   const QString& pattern, const QString& qtCategory, const QString& configFile,
                   const QString& logFile, unsigned long maxFileSize, int maxBackupIndex) override;

    /** Deletes the logger: only for one made with @c new, never for Instance(). */
    void Destroy() override;

    /** Closes the log file of the last Configure() with parameters, or opens it again. */
    void SetFileLoggingEnabled(bool on) override;

private:
    void TakeOverAppenders(const std::set<log4cpp::Appender*>& before);
    void SetFileAppender(log4cpp::Appender* appender, const QString& pattern);

    log4cpp::Category& root;
    QScopedPointer<log4cpp::Appender> fileAppender;
    quint32 outputs = 0;
    quint32 format = 0;
    std::vector<std::unique_ptr<log4cpp::Appender>> configured; // by property files

    Q_DISABLE_COPY_MOVE(Logger)
};

} // namespace common::logger::l4cpp

namespace common::logger {

/** Opens a stream of the log4cpp category at the log4cpp priority that @p level maps to. */
QVCOMMON_EXPORT log4cpp::CategoryStream operator<<(log4cpp::Category& category,
                                                   IMessage::Priority level);

} // namespace common::logger
