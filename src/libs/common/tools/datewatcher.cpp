#include "common/tools/datewatcher.h"

namespace tools {

namespace {

constexpr int pollInterval = 3000; // milliseconds

} // namespace

DateWatcher::DateWatcher(QObject* parent)
    : QObject(parent),
      date(QDate::currentDate()),
      offset(GetCurrentOffsetFromUTC()),
      timer(new QTimer(this))
{
    connect(timer, SIGNAL(timeout()), this, SLOT(OnTimerTimeout()));
    timer->start(pollInterval);
}

DateWatcher::~DateWatcher() = default;

QSharedPointer<DateWatcher> DateWatcher::GetDateWatcher()
{
    static const QSharedPointer<DateWatcher> watcher(new DateWatcher(nullptr));
    return watcher;
}

QDate DateWatcher::CurrentDate()
{
    return GetDateWatcher()->GetCurrentDate();
}

QDate DateWatcher::GetCurrentDate()
{
    if (!date.isValid())
        date = Now().date();
    return date;
}

QTimeZone DateWatcher::CurrentTimeZone()
{
    return GetDateWatcher()->GetTimeZone();
}

QTimeZone DateWatcher::GetTimeZone() const
{
    return QTimeZone(offset);
}

// Of one instant: two readings of the clock make it a second less now and then, and comparing
// local times goes wrong around daylight-saving switches.
int DateWatcher::GetCurrentOffsetFromUTC()
{
    return QDateTime::currentDateTime().offsetFromUtc();
}

void DateWatcher::OnTimerTimeout()
{
    const QDateTime now = Now();
    if (now.offsetFromUtc() != offset) {
        offset = now.offsetFromUtc();
        date = now.date();
        Q_EMIT currentTimeZoneChanged();
    } else if (now.date() != date) {
        date = now.date();
        Q_EMIT currentDateChanged();
    }
}

QDateTime DateWatcher::Now() const
{
    return QDateTime::currentDateTime();
}

} // namespace tools
