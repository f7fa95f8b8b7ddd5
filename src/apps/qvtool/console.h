#pragma once

#include <QElapsedTimer>
#include <QEventLoop>
#include <QString>

#include <cstdio>
#include <functional>

#include <termios.h>

namespace qvtool {

/** A size for people: "14.2 MiB". */
QString HumanSize(qint64 bytes);

/** "1 item", "2 items". */
QString Counted(qint64 count, const QString& one, const QString& many);

/** The text on one line, in its own order: what would control the terminal as "\\x1b". */
QString Escaped(const QString& text);

/** Writes, flushed. False if it could not be written. */
bool PrintBytes(FILE* stream, const QByteArray& bytes);
bool Print(FILE* stream, const QString& text);
bool PrintLine(FILE* stream, const QString& text);
/** A line of text from elsewhere, escaped, in the place of the progress bar. */
void PrintError(const QString& text);

/** From now on SIGINT, SIGTERM and SIGHUP end what waits here; a second one, the process. */
void CatchSignals();
/** From now on they end the process. */
void ReleaseSignals();
/** The signal that has come, or 0. */
int SignalThatCame();

/** Runs @p start and the event loop until that quits. False if a signal came. */
bool Await(QEventLoop& loop, const std::function<void()>& start);

/** Standard input, read in pieces. */
class Input
{
public:
    /** Waits for the next line, the last one may have no end. False if no more comes. */
    bool TakeLine(QByteArray& line);
    /** Waits for everything up to the end of the input. */
    QByteArray TakeAll();
    /** Why it could not be read to its end; empty if a signal came, too. */
    QString Error() const { return error_; }

private:
    bool More();

    QByteArray kept_;
    QString error_;
};

/** What is typed is not shown while this lives. */
class HiddenTyping
{
public:
    HiddenTyping();
    ~HiddenTyping();

    Q_DISABLE_COPY_MOVE(HiddenTyping)

private:
    termios before_ = {};
    bool onTerminal_;
};

/** The content of a regular file; with @p error set, if it cannot be read. */
QByteArray ReadFile(const QString& path, QString& error);

/** Without one line end that closes the text. */
QByteArray WithoutLineEnd(QByteArray text);

/** A bar on standard error with the rate and the time left; nothing unless that is a terminal. */
class Progress
{
public:
    enum Unit { Bytes, Items };

    explicit Progress(Unit unit, bool quiet = false);
    ~Progress();

    /** So much is done, of a total that may be unknown (negative). Less than before: a new try. */
    void Update(qint64 done, qint64 total);
    /** Shows the last state and ends the bar's line. */
    void Finish();

private:
    void Draw();
    QString Amount(qint64 amount) const;
    QString Numbers(int room) const;

    Unit unit_;
    bool shown_;
    QElapsedTimer sinceStart_;
    QElapsedTimer sinceDrawn_;
    qint64 done_ = 0;
    qint64 total_ = -1;
    bool stale_ = false;
};

} // namespace qvtool
