#pragma once

#include "common/tools/idlewatcher/askedsource_p.h"

#include <QDBusConnection>
#include <QLocalSocket>
#include <QPointer>

class QDBusPendingCallWatcher;

namespace common {

/** Asks the idle monitor of Mutter, the compositor of GNOME, on the session bus. */
class MutterIdle : public AskedSource
{
    Q_OBJECT

public:
    MutterIdle();
    ~MutterIdle() override;

    const char* Name() const override { return "Mutter"; }
    void Ask() override;

protected:
    qint64 Milliseconds() const override;

private:
    void Probe();
    void Connect();
    void Call();
    void GiveUp();
    void TakeReply(QDBusPendingCallWatcher* watcher);

    QString busName_; // of the connection, in this process
    QDBusConnection bus_;
    QPointer<QDBusPendingCallWatcher> call_; // the latest, until it is over
    QLocalSocket probe_;
    bool isAsking_ = false;
    quint64 answer_ = 0; // milliseconds
};

} // namespace common
