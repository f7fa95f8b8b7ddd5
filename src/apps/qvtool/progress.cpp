#include "progress.h"

#include "text.h"

#include <unistd.h>

namespace qvtool {

namespace {

constexpr int barWidth = 30;
constexpr qint64 terminalPeriod = 100; // milliseconds
constexpr qint64 linePeriod = 1000;

} // namespace

Progress::Progress(FILE* stream, const QString& indent)
    : stream_(stream), indent_(indent), onTerminal_(isatty(fileno(stream)) == 1)
{
}

void Progress::Update(qint64 bytes, qint64 total)
{
    if (!sinceStart_.isValid() || bytes < bytes_) {
        Finish();
        sinceStart_.start();
        sinceDrawn_.start();
    }
    bytes_ = bytes;
    total_ = total;
    stale_ = true;
    if (sinceDrawn_.elapsed() >= (onTerminal_ ? terminalPeriod : linePeriod))
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
    const qint64 elapsed = qMax<qint64>(sinceStart_.elapsed(), 1);
    QString line = indent_ + Bar() + HumanSize(bytes_);
    if (total_ >= 0)
        line += QStringLiteral(" of ") + HumanSize(total_);
    line += QStringLiteral("  %1/s").arg(HumanSize(bytes_ * 1000 / elapsed));

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
