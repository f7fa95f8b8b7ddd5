#include "progress.h"

#include "text.h"

#include <unistd.h>

namespace qvtool {

namespace {

constexpr int barWidth = 30;
constexpr qint64 terminalPeriod = 100; // milliseconds
constexpr qint64 linePeriod = 1000;
constexpr qint64 shortestForRate = 100; // a rate over less time says nothing

} // namespace

Progress::Progress(FILE* stream, const QString& indent)
    : stream_(stream), indent_(indent), onTerminal_(isatty(fileno(stream)) == 1)
{
}

void Progress::Start()
{
    sinceStart_.start();
    sinceDrawn_.start();
}

void Progress::Update(qint64 bytes, qint64 total)
{
    if (bytes < bytes_) {
        Finish();
        Start();
    }
    bytes_ = bytes;
    total_ = total;
    elapsed_ = sinceStart_.elapsed();
    stale_ = true;
    if (bytes == total || sinceDrawn_.elapsed() >= (onTerminal_ ? terminalPeriod : linePeriod))
        Draw();
}

void Progress::Finish()
{
    if (stale_)
        Draw();
    if (drawn_ && onTerminal_)
        Print(stream_, QStringLiteral("\n"));
    drawn_ = false;
}

void Progress::Draw()
{
    QString line = indent_ + Bar() + HumanSize(bytes_);
    if (total_ >= 0)
        line += QStringLiteral(" of ") + HumanSize(total_);
    if (elapsed_ >= shortestForRate)
        line += QStringLiteral("  %1/s").arg(HumanSize(bytes_ * 1000 / elapsed_));

    const auto eraseRest = QStringLiteral("\r\033[K");
    Print(stream_, onTerminal_ ? eraseRest + line : line + QLatin1Char('\n'));
    sinceDrawn_.start();
    drawn_ = true;
    stale_ = false;
}

QString Progress::Bar() const
{
    if (total_ <= 0)
        return QString();
    const double part = qBound(0.0, double(bytes_) / double(total_), 1.0);
    const QString percent = QStringLiteral("%1%  ").arg(int(part * 100), 3);
    if (!onTerminal_)
        return percent;
    const int filled = int(part * barWidth);
    return QLatin1Char('[') + QString(filled, QLatin1Char('#')) +
           QString(barWidth - filled, QLatin1Char('-')) + QStringLiteral("] ") + percent;
}

} // namespace qvtool
