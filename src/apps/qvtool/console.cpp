#include "console.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qvtool {

namespace {

constexpr int chunkSize = 64 * 1024;
constexpr int mostKept = 1024 * 1024 * 1024;

constexpr int longestBar = 30;
constexpr int shortestBar = 10;
constexpr int usualColumns = 80;
constexpr qint64 drawPeriod = 100; // milliseconds; a rate over less time says nothing, either

std::atomic<bool> barIsShown = false; // the library's threads log, too

constexpr int endingSignals[] = {SIGINT, SIGTERM, SIGHUP};
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

void EraseBar()
{
    if (barIsShown.exchange(false))
        Print(stderr, "\r\033[K");
}

} // namespace

QString HumanSize(qint64 bytes)
{
    constexpr double step = 1024;
    const char* const units[] = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < step)
        return QString("%1 B").arg(bytes);

    double value = bytes / step;
    int unit = 0;
    for (; value >= step && unit < 3; ++unit)
        value /= step;
    return QString("%1 %2").arg(value, 0, 'f', 1).arg(units[unit]);
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

bool PrintBytes(FILE* stream, const QByteArray& bytes)
{
    const auto size = static_cast<size_t>(bytes.size());
    return fwrite(bytes.constData(), 1, size, stream) == size && fflush(stream) == 0;
}

bool Print(FILE* stream, const QString& text)
{
    return PrintBytes(stream, text.toUtf8());
}

bool PrintLine(FILE* stream, const QString& text)
{
    return Print(stream, text + '\n');
}

void PrintError(const QString& text)
{
    EraseBar();
    PrintLine(stderr, Escaped(text));
}

void CatchSignals()
{
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESETHAND | SA_RESTART;
    for (const int number : endingSignals) {
        struct sigaction inherited = {};
        if (sigaction(number, &action, &inherited) == 0 && inherited.sa_handler == SIG_IGN)
            std::signal(number, SIG_IGN); // in the background of a script, or by nohup
    }
}

void ReleaseSignals()
{
    for (const int number : endingSignals) {
        struct sigaction current = {};
        if (sigaction(number, nullptr, &current) == 0 && current.sa_handler == OnSignal)
            std::signal(number, SIG_DFL);
    }
}

int SignalThatCame()
{
    return signalThatCame;
}

bool Await(QEventLoop& loop, const std::function<void()>& start)
{
    QSocketNotifier notifier(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &loop, &QEventLoop::quit);
    QTimer::singleShot(0, &loop, start);
    if (signalThatCame == 0)
        loop.exec();
    return signalThatCame == 0;
}

bool Input::More()
{
    pollfd ends[] = {{STDIN_FILENO, POLLIN, 0}, {pipeEnds[0], POLLIN, 0}};
    while (poll(ends, std::size(ends), -1) < 0 && errno == EINTR)
        ;
    if (signalThatCame != 0)
        return false;
    QByteArray chunk(chunkSize, Qt::Uninitialized);
    const auto size = read(STDIN_FILENO, chunk.data(), static_cast<size_t>(chunk.size()));
    if (size < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    if (size < 0)
        error_ = qt_error_string(errno);
    else if (kept_.size() > mostKept - chunkSize)
        error_ = "it is too large";
    else
        kept_.append(chunk.constData(), static_cast<int>(size));
    return size > 0 && error_.isEmpty();
}

bool Input::TakeLine(QByteArray& line)
{
    int end = kept_.indexOf('\n');
    while (end < 0) {
        const int searched = kept_.size(); // no line ends before
        if (!More())
            break;
        end = kept_.indexOf('\n', searched);
    }
    line = end < 0 ? kept_ : WithoutLineEnd(kept_.left(end + 1));
    kept_.remove(0, end < 0 ? kept_.size() : end + 1);
    return end >= 0 || (!line.isEmpty() && error_.isEmpty() && signalThatCame == 0);
}

QByteArray Input::TakeAll()
{
    while (More())
        ;
    return std::exchange(kept_, QByteArray());
}

HiddenTyping::HiddenTyping() : onTerminal_(tcgetattr(STDIN_FILENO, &before_) == 0)
{
    termios hidden = before_;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    if (onTerminal_)
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
}

HiddenTyping::~HiddenTyping()
{
    if (onTerminal_)
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
}

QByteArray ReadFile(const QString& path, QString& error)
{
    const QFileInfo info(path);
    QFile file(path);
    QByteArray content;
    if (info.exists() && !info.isFile())
        error = QString("cannot read '%1': it is not a regular file").arg(path);
    else if (file.open(QIODevice::ReadOnly))
        content = file.readAll();
    if (error.isEmpty() && file.error() != QFileDevice::NoError)
        error = QString("cannot read '%1': %2").arg(path, file.errorString());
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
    Finish();
}

void Progress::Update(qint64 done, qint64 total)
{
    if (done < done_) {
        Finish();
        sinceStart_.start();
    }
    done_ = done;
    total_ = total;
    stale_ = true;
    if (done == total || sinceDrawn_.elapsed() >= drawPeriod)
        Draw();
}

void Progress::Finish()
{
    if (stale_)
        Draw();
    if (barIsShown.exchange(false))
        Print(stderr, "\n");
}

void Progress::Draw()
{
    stale_ = false;
    if (!shown_)
        return;
    const int room = Columns() - 1; // the cursor stays on the line
    const QString numbers = Numbers(room);
    const int width = std::min(longestBar, room - int(numbers.size()) - int(qstrlen("[] ")));
    QString bar;
    if (total_ > 0 && width >= shortestBar)
        bar = '[' + QString(int(done_ * width / total_), '#').leftJustified(width, '-') + "] ";
    EraseBar();
    Print(stderr, bar + numbers);
    barIsShown = true;
    sinceDrawn_.start();
}

QString Progress::Amount(qint64 amount) const
{
    return unit_ == Bytes ? HumanSize(amount) : QString("%1 items").arg(amount);
}

// As many of them as there is room for.
QString Progress::Numbers(int room) const
{
    QStringList parts;
    const qint64 elapsed = sinceStart_.elapsed();
    const qint64 perSecond = done_ * 1000 / std::max<qint64>(elapsed, 1);
    if (total_ > 0)
        parts << QString("%1%").arg(done_ * 100 / total_, 3);
    parts << (total_ > 0 ? QString("%1 of %2").arg(Amount(done_), Amount(total_)) : Amount(done_));
    if (elapsed >= drawPeriod && perSecond > 0)
        parts << Amount(perSecond) + "/s";
    if (parts.last().endsWith("/s") && done_ < total_)
        parts << QString("%1 s left").arg((total_ - done_) / perSecond + 1);
    while (parts.size() > 1 && parts.join("  ").size() > room)
        parts.removeLast();
    return parts.join("  ");
}

} // namespace qvtool
