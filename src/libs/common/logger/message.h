#pragma once

#include "common/qvcommon_export.h"

#include <QString>
#include <QTextStream>

#if defined(DEBUG) || defined(ERROR)
#error "Undefine the macros DEBUG and ERROR: they are names of priorities here."
#endif

namespace common::logger {

class ILogger;

/**
 * A log category: one static object per component, passed by address with every message.
 *
 * @c name is a NUL-terminated 8-bit string that must outlive every message of the category; a
 * string literal does. It must not be null: the log4cpp backend ends the process then.
 */
struct ICategory
{
    /** The name, with dots between levels: "http.request". */
    const char* name;
};

/**
 * Read-only view of one log record, as a logger gets it in ILogger::Append().
 *
 * The record and everything it returns by reference or pointer live only for the duration of that
 * call. There is no virtual destructor: a record is never owned through this interface.
 */
class QVCOMMON_EXPORT IMessage
{
public:
    /** Severity on the syslog scale (RFC 5424, section 6.2.1): a lower number is more severe. */
    enum Priority : int {
        EMERG = 0,  ///< the system is unusable
        ALERT = 1,  ///< somebody must act at once
        CRIT = 2,   ///< a critical condition
        ERROR = 3,  ///< an operation failed
        WARN = 4,   ///< something is odd, but goes on
        NOTICE = 5, ///< normal, but significant
        INFO = 6,   ///< what the program does
        DEBUG = 7,  ///< how it does it
        NOTSET = 8  ///< no priority: such a message never reaches a logger
    };

    /** How severe it is. */
    virtual Priority Level() const = 0;
    /** The category, or null. */
    virtual const ICategory* Category() const = 0;
    /** The text streamed into the message so far. */
    virtual const QString& Text() const = 0;
    /** Source line number. */
    virtual int Line() const = 0;
    /** Source file path, or null. */
    virtual const char* File() const = 0;
    /** Bare function name, or null. */
    virtual const char* Function() const = 0;

protected:
    IMessage() = default;
    ~IMessage() = default;
    Q_DISABLE_COPY_MOVE(IMessage)
};

/**
 * One log statement: built on the stack, streamed into, handed to its logger when it is destroyed
 * at the end of the statement.
 *
 * Normally written with the macro of common/logger/log.h, which supplies all arguments:
 * @code
 * QVLOG(INFO) << "dialling '" << address << "'";
 * @endcode
 *
 * The destructor calls ILogger::Append() exactly once, on the thread that built the message, if
 * the priority is below NOTSET and the logger is not null, whatever the logger's level: filtering
 * is the logger's business. An exception thrown by Append() ends the process.
 */
class QVCOMMON_EXPORT Message final : public IMessage
{
public:
    /** The text stream of a message together with the string it writes to. */
    class QVCOMMON_EXPORT Stream : public QTextStream
    {
    public:
        Stream();
        ~Stream() override;

        /** What was written into the stream so far. */
        const QString& Text() const { return text_; }

    private:
        QString text_;
    };

    /**
     * @param logger    receives the message, normally GetLogger(); null drops it. Not owned.
     * @param category  not owned, may be null
     * @param level     priority; NOTSET and above drop the message
     * @param file      source file path, not copied; null for none
     * @param function  bare function name, not copied; null for none
     * @param line      source line number
     */
    Message(ILogger* logger, const ICategory* category, Priority level, const char* file,
            const char* function, int line);
    /** For the current logger; only as the next thing after BeginStatement() has returned true. */
    Message(const ICategory* category, Priority level, const char* file, const char* function,
            int line);
    ~Message();

    /** The stream that takes the text. Literals are read as Latin-1, byte arrays as UTF-8. */
    QTextStream& Out() { return stream_; }

    /** Streams into Out(): whatever a QTextStream takes by value or constant reference. */
    template <typename T>
    Message& operator<<(const T& value)
    {
        stream_ << value;
        return *this;
    }
    /** The same for manipulators such as Qt::hex. */
    Message& operator<<(QTextStream& (*manipulator)(QTextStream&))
    {
        stream_ << manipulator;
        return *this;
    }

    Priority Level() const override;
    const ICategory* Category() const override;
    const QString& Text() const override;
    int Line() const override;
    const char* File() const override;
    const char* Function() const override;

private:
    Stream stream_;
    ILogger* logger_;
    const ICategory* category_;
    Priority level_;
    const char* file_;
    const char* function_;
    int line_;
};

} // namespace common::logger
