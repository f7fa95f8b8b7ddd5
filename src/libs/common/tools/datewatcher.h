#pragma once

#include "common/qvcommon_export.h"

#include <QDate>
#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QSharedPointer>
#include <QTimeZone>
#include <QTimer>

namespace tools {

/**
 * Tells when the local date changes (at midnight, or when the clock is set), and when the local
 * offset from UTC does (at a daylight-saving switch, or with the time zone).
 *
 * @code
 * using tools::DateWatcher;
 * connect(DateWatcher::GetDateWatcher().data(), &DateWatcher::currentDateChanged, this,
 *         &Client::RefreshDayTitles);
 * @endcode
 *
 * It polls every 3 seconds. Use it on one thread, normally that of the GUI: the shared watcher
 * lives on the thread that asks for it first.
 */
class QVCOMMON_EXPORT DateWatcher : public QObject
{
    Q_OBJECT

public:
    /** A watcher beside the shared one, with a timer of its own. */
    explicit DateWatcher(QObject* parent);
    ~DateWatcher() override;

    /** The shared watcher, made at the first call. */
    static QSharedPointer<DateWatcher> GetDateWatcher();

    /** The local date, as the shared watcher saw it last. */
    static QDate CurrentDate();
    /** The local date, as this watcher saw it last. */
    QDate GetCurrentDate();

    /**
     * A zone with the fixed offset from UTC that the shared watcher saw last. It knows no
     * daylight-saving time: ask anew after currentTimeZoneChanged().
     */
    static QTimeZone CurrentTimeZone();
    /** The same of this watcher. */
    QTimeZone GetTimeZone() const;

    /** The offset of local time from UTC right now, in seconds; positive east of Greenwich. */
    static int GetCurrentOffsetFromUTC();

Q_SIGNALS:
    /** The date is another one, while the offset is the same. */
    void currentDateChanged();
    /** The offset is another one; perhaps the date, too. */
    void currentTimeZoneChanged();

public Q_SLOTS:
    /** Polls once; the timer calls it. */
    void OnTimerTimeout();

protected:
    /** The clock: the local time. */
    virtual QDateTime Now() const;

private:
    QDate date;
    qint32 offset;
    QPointer<QTimer> timer;
};

} // namespace tools
