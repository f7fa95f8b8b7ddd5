#pragma once

#include "common/tools/idlewatcher.h"

#include <QScopedPointer>
#include <QTimer>

namespace common {

/** The timer of an IdleWatcher, and what it remembers. */
class QVCOMMON_EXPORT IdleWatcherPrivate : public QTimer
{
    Q_OBJECT

public:
    using QTimer::QTimer;

    IIdleBackend* createIdleBackend() const;

    QScopedPointer<IIdleBackend> backend;
    qint32 last = 0; // seconds of idleness at the previous poll
};

} // namespace common
