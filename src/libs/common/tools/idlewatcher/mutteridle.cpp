#include "common/tools/idlewatcher/mutteridle_p.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>
#include <QRegularExpression>
#include <QThread>
#include <QUrl>
#include <QUuid>

namespace common {

namespace {

// Where the session bus listens; empty if that is no path.
QString BusPath()
{
    static const QRegularExpression path(QStringLiteral("^unix:(?:.*,)?path=([^,;]*)"));
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    if (address.isEmpty())
        return QFile::decodeName(qgetenv("XDG_RUNTIME_DIR")) + QLatin1String("/bus");
    const QString escaped = path.match(QFile::decodeName(address)).captured(1);
    return QUrl::fromPercentEncoding(escaped.toUtf8());
}

} // namespace

MutterIdle::MutterIdle()
    : busName_(QLatin1String("qvcommon-idle-") +
               QUuid::createUuid().toString(QUuid::WithoutBraces)),
      bus_(busName_)
{
    connect(&probe_, &QLocalSocket::connected, this, [this] { probe_.write("\0AUTH\r\n", 7); });
    connect(&probe_, &QLocalSocket::readyRead, this, &MutterIdle::Connect);
    connect(&probe_, &QLocalSocket::errorOccurred, this, &MutterIdle::GiveUp);
}

// Qt frees a call while it is in use, if its connection is closed at the wrong moment.
MutterIdle::~MutterIdle()
{
    const auto close = [name = busName_] {
        QDBusConnection::disconnectFromBus(name);
    };
    if (call_)
        connect(call_, &QObject::destroyed, close);
    else if (bus_.isConnected())
        close();
}

void MutterIdle::Ask()
{
    if (isAsking_)
        return;
    isAsking_ = true;
    if (bus_.isConnected())
        Call();
    else
        Probe();
}

// Qt D-Bus waits without limit for a bus that hangs, and so would the end of the process: the bus has
// to say something first.
void MutterIdle::Probe()
{
    const QString path = BusPath();
    if (path.isEmpty())
        Connect();
    else
        probe_.connectToServer(path);
}

// To connect is to wait for the bus: a thread does so, and outlives this object if it must.
void MutterIdle::Connect()
{
    probe_.abort();
    QThread* thread = QThread::create([name = busName_] {
        QDBusConnection::disconnectFromBus(name); // one that has broken
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    });
    connect(thread, &QThread::finished, this, [this] {
        bus_ = QDBusConnection(busName_);
        if (bus_.isConnected())
            Call();
        else
            GiveUp();
    });
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}

void MutterIdle::GiveUp()
{
    isAsking_ = false;
    Failed();
}

void MutterIdle::Call()
{
    auto question = QDBusMessage::createMethodCall(
        QStringLiteral("org.gnome.Mutter.IdleMonitor"),
        QStringLiteral("/org/gnome/Mutter/IdleMonitor/Core"),
        QStringLiteral("org.gnome.Mutter.IdleMonitor"), QStringLiteral("GetIdletime"));
    question.setAutoStartService(false);
    call_ = new QDBusPendingCallWatcher(bus_.asyncCall(question, patience)); // may outlive this
    connect(call_, &QDBusPendingCallWatcher::finished, this, &MutterIdle::TakeReply);
    connect(call_, &QDBusPendingCallWatcher::finished, call_, &QObject::deleteLater);
}

void MutterIdle::TakeReply(QDBusPendingCallWatcher* watcher)
{
    const QDBusPendingReply<quint64> reply = *watcher;
    if (reply.isError() &&
        reply.error().type() != QDBusError::NoReply) // that one hangs, but is there
        return GiveUp();
    isAsking_ = false;
    if (reply.isError())
        return;
    answer_ = reply.value();
    Answered();
}

qint64 MutterIdle::Milliseconds() const
{
    return static_cast<qint64>(answer_) + AgeOfAnswer();
}

} // namespace common
