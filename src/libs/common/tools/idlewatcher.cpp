#include "common/tools/idlewatcher.h"

#include "common/logger/log.h"
#include "common/tools/idlewatcher_p.h"
#include "common/tools/sessionidlebackend_p.h"

#include <QGuiApplication>

#if QT_VERSION_MAJOR < 6
#include <QX11Info>
#endif

#include <cstdlib>
#include <memory>
#include <utility>

#include <xcb/screensaver.h>

namespace common {

namespace {

constexpr logger::ICategory logCategory{"common.idle"};
constexpr char logSource[] = "src/libs/common/tools/idlewatcher";

constexpr int activeInterval = 3000; // milliseconds between polls
constexpr int idleInterval = 1000;
constexpr int minute = 60;

struct Free
{
    void operator()(void* memory) const { free(memory); }
};

// That of Qt, or null without an X server.
xcb_connection_t* Connection()
{
#if QT_VERSION_MAJOR < 6
    return QX11Info::connection();
#else
    const auto* application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    const auto* x11 =
        application ? application->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
#endif
}

// The server would break the connection for a request of an extension that it does not have.
bool HasScreenSaver(xcb_connection_t* connection)
{
    const auto* extension = xcb_get_extension_data(connection, &xcb_screensaver_id);
    return extension && extension->present;
}

} // namespace

IIdleBackend::~IIdleBackend() = default;

XcbIdleBackend::XcbIdleBackend() : screen(nullptr)
{
    xcb_connection_t* connection = Connection();
    if (connection && !xcb_connection_has_error(connection))
        screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

XcbIdleBackend::~XcbIdleBackend() = default;

bool XcbIdleBackend::isAvailable() const
{
    xcb_connection_t* connection = screen ? Connection() : nullptr;
    return connection && !xcb_connection_has_error(connection) && HasScreenSaver(connection);
}

int XcbIdleBackend::getSeconds() const
{
    if (!isAvailable())
        return Unavailable();
    xcb_connection_t* connection = Connection();
    const auto cookie = xcb_screensaver_query_info(connection, screen->root);
    const std::unique_ptr<xcb_screensaver_query_info_reply_t, Free> reply(
        xcb_screensaver_query_info_reply(connection, cookie, nullptr));
    return reply ? static_cast<int>(reply->ms_since_user_input / 1000) : Unavailable();
}

int XcbIdleBackend::Unavailable() const
{
    if (!told)
        QVLOG_FROM("getSeconds", WARN) << "The X server does not tell how long the user is idle!";
    told = true;
    return 0;
}

IIdleBackend* IdleWatcherPrivate::createIdleBackend() const
{
    if (SessionIdleBackend::IsWanted())
        return new SessionIdleBackend;
    return new XcbIdleBackend;
}

IdleWatcher::IdleWatcher(QObject* parent) : IdleWatcher(nullptr, parent)
{
}

IdleWatcher::IdleWatcher(IIdleBackend* backend, QObject* parent)
    : QObject(parent), d(new IdleWatcherPrivate(this))
{
    d->backend.reset(backend ? backend : d->createIdleBackend());
    connect(d, &QTimer::timeout, this, &IdleWatcher::checkIdleState);
    d->start(activeInterval);
}

IdleWatcher::~IdleWatcher() = default;

QSharedPointer<IdleWatcher> IdleWatcher::instance()
{
    return QSharedPointer<IdleWatcher>(new IdleWatcher(nullptr));
}

bool IdleWatcher::isKnown() const
{
    return seconds() >= 0;
}

int IdleWatcher::seconds() const
{
    if (!d->backend)
        return IdleSource::unknown;
    const int seconds = d->backend->getSeconds();
    const auto* xcb = dynamic_cast<const XcbIdleBackend*>(d->backend.data());
    return xcb && !xcb->isAvailable() ? IdleSource::unknown : seconds; // which says 0
}

QString IdleWatcher::backendName() const
{
    if (const auto* session = dynamic_cast<const SessionIdleBackend*>(d->backend.data()))
        return QString::fromLatin1(session->Name());
    const bool isXcb = dynamic_cast<const XcbIdleBackend*>(d->backend.data());
    return isXcb ? QStringLiteral("X11") : QString();
}

void IdleWatcher::checkIdleState()
{
    const int seconds = this->seconds();
    if (seconds < 0)
        return;
    const int before = std::exchange(d->last, seconds); // a handler may poll, too
    if (seconds < before && before >= minute) {
        d->setInterval(activeInterval);
        Q_EMIT active();
    } else if (seconds / minute > before / minute) {
        d->setInterval(idleInterval);
        Q_EMIT idle(seconds);
    }
}

} // namespace common
