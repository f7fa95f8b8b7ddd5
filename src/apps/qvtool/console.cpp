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

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qvtool {

namespace {

constexpr int mostInput = 1024 * 1024 * 1024;

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
        if (c.isPrint() || c.isSurrogate())
            result += c;
        else
            result += QString("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
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

void CatchSignals()
{
    if (pipeEnds[0] < 0 && pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) == 0)
        HandleSignals(OnSignal);
}

void Await(QEventLoop& loop, const std::function<void()>& start)
{
    CatchSignals();
    QSocketNotifier notifier(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
    QTimer::singleShot(0, &loop, start);
    if (signalThatCame == 0)
        loop.exec();
}

// Qt would wait for a second end of the input at a terminal, and for more than a line.
bool ReadLine(QByteArray& text)
{
    static char* buffer = nullptr;
    static size_t capacity = 0;
    const auto size = getline(&buffer, &capacity, stdin);
    if (size < 0 && !feof(stdin))
        Fail("cannot read standard input: " + qt_error_string(errno));
    if (size > mostInput - text.size())
        Fail("cannot read standard input: it is too large");
    text.append(buffer, static_cast<int>(std::max<ssize_t>(size, 0)));
    return size > 0;
}

QByteArray ReadInput()
{
    QByteArray input;
    while (ReadLine(input))
        ;
    return input;
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
    const bool endsBar = done == total && barIsShown; // what takes no time shows no bar
    if (!shown_ || (!endsBar && sinceDrawn_.elapsed() < drawPeriod))
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
