#include "progress.h"

#include "text.h"

#include <unistd.h>

namespace qvtool {

namespace {

constexpr int barWidth = 30;
constexpr qint64 terminalPeriod = 100; // milliseconds
constexpr qint64 linePeriod = 1000;
constexpr qint64 shortestForRate = 100; // a rate over less time says nothing

FILE* barStream = nullptr; // where a bar stands now

} // namespace

Progress::Progress(FILE* stream, Unit unit, const QString& indent)
    : stream_(stream), unit_(unit), indent_(indent), onTerminal_(isatty(fileno(stream)) == 1)
{
}

void Progress::Start()
{
    sinceStart_.start();
    sinceDrawn_.start();
}

void Progress::Update(qint64 done, qint64 total)
{
    if (done < done_) {
        Finish();
        Start();
    }
    done_ = done;
    total_ = total;
    elapsed_ = sinceStart_.elapsed();
    stale_ = true;
    if (done == total || sinceDrawn_.elapsed() >= (onTerminal_ ? terminalPeriod : linePeriod))
        Draw();
}

void Progress::Finish()
{
    if (stale_)
        Draw();
    if (barStream)
        Print(barStream, QStringLiteral("\n"));
    barStream = nullptr;
}

void Progress::EraseBar()
{
    if (barStream)
        Print(barStream, QStringLiteral("\r\033[K"));
    barStream = nullptr;
}

void Progress::Draw()
{
    const QString of = total_ < 0 ? QString() : QStringLiteral(" of ") + Amount(total_);
    const QString line = indent_ + Bar() + Amount(done_) + of +
                         (unit_ == Items ? QStringLiteral(" items") : QString()) + Pace();
    EraseBar();
    Print(stream_, onTerminal_ ? line : line + QLatin1Char('\n'));
    barStream = onTerminal_ ? stream_ : nullptr;
    sinceDrawn_.start();
    stale_ = false;
}

QString Progress::Amount(qint64 amount) const
{
    return unit_ == Bytes ? HumanSize(amount) : QString::number(amount);
}

QString Progress::Pace() const
{
    const qint64 perSecond = done_ * 1000 / qMax<qint64>(elapsed_, 1);
    if (elapsed_ < shortestForRate || perSecond == 0)
        return QString();
    QString text = QStringLiteral("  %1/s").arg(Amount(perSecond));
    if (done_ < total_)
        text += QStringLiteral("  %1 s left").arg((total_ - done_) / perSecond + 1);
    return text;
}

QString Progress::Bar() const
{
    if (total_ <= 0)
        return QString();
    const double part = qBound(0.0, double(done_) / double(total_), 1.0);
    const QString percent = QStringLiteral("%1%  ").arg(int(part * 100), 3);
    if (!onTerminal_)
        return percent;
    const int filled = int(part * barWidth);
    return QLatin1Char('[') + QString(filled, QLatin1Char('#')) +
           QString(barWidth - filled, QLatin1Char('-')) + QStringLiteral("] ") + percent;
}

} // namespace qvtool
