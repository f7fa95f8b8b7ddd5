#pragma once

#include <QElapsedTimer>
#include <QEventLoop>
#include <QString>

#include <functional>

namespace qvtool {

/** How a call ends; with 128 and its number, if a signal ended it. */
enum ExitCode {
    Success = 0,
    JobFailed = 1,
    WrongUsage = 2,
    IsNot = 3, ///< "parse": a text is not an address
    IsLess = 3,
    IsGreater = 4
};

/** Thrown to end a command, but never out of an event loop. */
struct Failure
{
    int code;
    QString reason;
};

/** The job failed. */
[[noreturn]] void Fail(const QString& reason);
/** The arguments are wrong. */
[[noreturn]] void Reject(const QString& reason);
/** Ends the command if a signal has come; says what that left undone. */
void EndIfInterrupted(const QString& state);

/** "1 item", "2 items". */
QString Counted(qint64 count, const QString& one, const QString& many);

/** The text on one line, in its own order: what would control the terminal as "\\x1b". */
QString Escaped(const QString& text);

/** Writes to standard output. */
void Print(const QByteArray& bytes);
void PrintLine(const QString& text);
/** A line of text from elsewhere to standard error, escaped, in the place of the progress bar. */
void PrintError(const QString& text);

/** Has SIGINT, SIGTERM and SIGHUP handled once, unless they are ignored; the next one ends the process. */
void HandleSignals(void (*handler)(int));
/** Has them end what waits here, which can then tidy up and tell how far it came. */
void CatchSignals();

/** Runs @p start and the event loop until that quits, or a signal comes. */
void Await(QEventLoop& loop, const std::function<void()>& start);

/** Waits for the next line of standard input and appends it, with its end. False if no more comes. */
bool ReadLine(QByteArray& text);
/** Waits for all of standard input. */
QByteArray ReadInput();
/** The content of a regular file. */
QByteArray ReadFile(const QString& path);

/** Without one line end that closes the text. */
QByteArray WithoutLineEnd(QByteArray text);

/** A bar on standard error with the rate and the time left; nothing unless that is a terminal. */
class Progress
{
public:
    enum Unit { Bytes, Items };

    Progress(Unit unit, bool quiet);
    ~Progress();

    /** So much is done, of a total that may be unknown (negative). Less than before: a new try. */
    void Update(qint64 done, qint64 total);

private:
    QString Amount(qint64 amount) const;

    Unit unit_;
    bool shown_;
    QElapsedTimer sinceStart_;
    QElapsedTimer sinceDrawn_;
    qint64 done_ = 0;
};

} // namespace qvtool
