#include "console.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qvtool {

namespace {

constexpr int chunkSize = 64 * 1024;
constexpr int mostKept = 1024 * 1024 * 1024;

constexpr int barWidth = 20;
constexpr int usualColumns = 80;
constexpr qint64 drawPeriod = 100; // milliseconds; a rate over less time says nothing, either

std::atomic<bool> barIsShown = false; // the library's threads log, too

int pipeEnds[2] = {-1, -1};
volatile std::sig_atomic_t signalThatCame = 0;

// All that is allowed in a signal handler: wake who waits at the other end of a pipe.
void OnSignal(int number)
{
    signalThatCame = number;
    const char byte = 0;
    [[maybe_unused]] const auto written = write(pipeEnds[1], &byte, 1);
}

// What is ignored stays so: in the background of a script, or by nohup.
void HandleSignals(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESETHAND | SA_RESTART;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction current = {};
        if (sigaction(number, nullptr, &current) == 0 && current.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
}

int Columns()
{
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col
                                                                           : usualColumns;
}

bool Write(FILE* stream, const QByteArray& bytes)
{
    const auto size = static_cast<size_t>(bytes.size());
    return fwrite(bytes.constData(), 1, size, stream) == size && fflush(stream) == 0;
}

void EndBar()
{
    if (barIsShown.exchange(false))
        Write(stderr, "\n");
}

} // namespace

void Fail(const QString& reason)
{
    throw Failure{JobFailed, reason};
}

void Reject(const QString& reason)
{
    throw Failure{WrongUsage, reason};
}

void EndIfInterrupted(const QString& state)
{
    if (signalThatCame != 0)
        throw Failure{128 + signalThatCame, "interrupted: " + state};
}

QString Counted(qint64 count, const QString& one, const QString& many)
{
    return QString("%1 %2").arg(QString::number(count), count == 1 ? one : many);
}

QString Escaped(const QString& text)
{
    QString result;
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format ||
            c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph)
            result += QString("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            result += c;
    }
    return result;
}

void Print(const QByteArray& bytes)
{
    EndBar();
    if (!Write(stdout, bytes))
        Fail("cannot write to standard output");
}

void PrintLine(const QString& text)
{
    Print(text.toUtf8() + '\n');
}

void PrintError(const QString& text)
{
    Write(stderr, (barIsShown.exchange(false) ? "\r\033[K" : "") + Escaped(text).toUtf8() + '\n');
}

void CatchSignals()
{
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) == 0)
        HandleSignals(OnSignal);
}

void ReleaseSignals()
{
    HandleSignals(SIG_DFL);
}

int SignalThatCame()
{
    return signalThatCame;
}

void Await(QEventLoop& loop, const std::function<void()>& start)
{
    QSocketNotifier notifier(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
    QTimer::singleShot(0, &loop, start);
    if (signalThatCame == 0)
        loop.exec();
}

bool Input::More()
{
    pollfd ends[] = {{STDIN_FILENO, POLLIN, 0}, {pipeEnds[0], POLLIN, 0}};
    while (poll(ends, std::size(ends), -1) < 0 && errno == EINTR)
        ;
    EndIfInterrupted("the input was not read to its end");
    QByteArray chunk(chunkSize, Qt::Uninitialized);
    const auto size = read(STDIN_FILENO, chunk.data(), static_cast<size_t>(chunk.size()));
    if (size < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    if (size < 0)
        Fail("cannot read standard input: " + qt_error_string(errno));
    if (kept_.size() > mostKept - chunkSize)
        Fail("cannot read standard input: it is too large");
    kept_.append(chunk.constData(), static_cast<int>(size));
    return size > 0;
}

bool Input::TakeLine(QByteArray& line)
{
    int end = kept_.indexOf('\n');
    for (int searched = kept_.size(); end < 0 && More(); searched = kept_.size())
        end = kept_.indexOf('\n', searched);
    line = kept_.left(end < 0 ? kept_.size() : end + 1);
    kept_.remove(0, line.size());
    return !line.isEmpty();
}

QByteArray Input::TakeAll()
{
    while (More())
        ;
    return std::exchange(kept_, QByteArray());
}

QByteArray ReadFile(const QString& path)
{
    const QFileInfo info(path);
    QFile file(path);
    QByteArray content;
    if (info.exists() && !info.isFile())
        Fail(QString("cannot read '%1': it is not a regular file").arg(path));
    if (file.open(QIODevice::ReadOnly))
        content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        Fail(QString("cannot read '%1': %2").arg(path, file.errorString()));
    return content;
}

QByteArray WithoutLineEnd(QByteArray text)
{
    if (text.endsWith('\n'))
        text.chop(text.endsWith("\r\n") ? 2 : 1);
    return text;
}

Progress::Progress(Unit unit, bool quiet)
    : unit_(unit), shown_(!quiet && isatty(STDERR_FILENO) == 1 && qgetenv("TERM") != "dumb")
{
    sinceStart_.start();
    sinceDrawn_.start();
}

Progress::~Progress()
{
    EndBar();
}

void Progress::Update(qint64 done, qint64 total)
{
    if (done < done_)
        sinceStart_.start();
    done_ = done;
    if (!shown_ || (done != total && sinceDrawn_.elapsed() < drawPeriod))
        return;
    sinceDrawn_.start();
    QStringList parts;
    if (total > 0)
        parts << QString("[%1] %2%")
                     .arg(QString(int(done * barWidth / total), '#').leftJustified(barWidth, '-'))
                     .arg(done * 100 / total, 3);
    parts << (total > 0 ? Amount(done) + " of " + Amount(total) : Amount(done));
    const qint64 perSecond = done * 1000 / std::max(sinceStart_.elapsed(), drawPeriod);
    parts << Amount(perSecond) + "/s";
    if (done < total && perSecond > 0)
        parts << QString("%1 s left").arg((total - done) / perSecond + 1);
    const int room = Columns() - 1; // the cursor stays on the line
    while (parts.size() > 1 && parts.join("  ").size() > room)
        parts.removeLast();
    Write(stderr, "\r\033[K" + parts.join("  ").left(room).toUtf8());
    barIsShown = true;
}

QString Progress::Amount(qint64 amount) const
{
    return unit_ == Bytes ? QLocale::c().formattedDataSize(amount, 1)
                          : QString("%1 items").arg(amount);
}

} // namespace qvtool
