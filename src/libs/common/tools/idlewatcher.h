#pragma once

#include "common/qvcommon_export.h"

#include <QObject>
#include <QSharedPointer>

struct xcb_screen_t;

namespace common {

class IdleWatcherPrivate;

/** Tells how long the user has been idle. */
class QVCOMMON_EXPORT IIdleBackend
{
public:
    virtual ~IIdleBackend();

    /** Whole seconds since the last input; below 0, it is not known. Must not wait for long. */
    virtual int getSeconds() const = 0;
};

/**
 * Asks the X server's screen-saver extension, over the connection of the QGuiApplication.
 *
 * Each question is a round trip to the server that blocks. Without an X server (on Wayland, say),
 * without the extension, or when the connection is broken, the answer is 0, and that is logged
 * once: see isAvailable(). Under XWayland the server sees the input of X clients only.
 */
class QVCOMMON_EXPORT XcbIdleBackend : public IIdleBackend
{
public:
    /** Make it after the QGuiApplication; use it on its thread, and no longer than it lives. */
    XcbIdleBackend();
    ~XcbIdleBackend() override;

    int getSeconds() const override;
    /** Whether there is a server that can answer. */
    bool isAvailable() const;

private:
    QVCOMMON_NO_EXPORT int Unavailable() const;

    xcb_screen_t* screen;
    mutable bool told = false;

    Q_DISABLE_COPY_MOVE(XcbIdleBackend)
};

/**
 * Tells when the user has not touched keyboard and mouse for a minute, and when input is back.
 *
 * @code
 * using common::IdleWatcher;
 * watcher = IdleWatcher::instance(); // a member: it watches for as long as it is kept
 * connect(watcher.data(), &IdleWatcher::idle, this, [this] { SetPresence(Away); });
 * connect(watcher.data(), &IdleWatcher::active, this, [this] { SetPresence(Online); });
 * @endcode
 *
 * It polls every 3 seconds, while the user is idle every second, for as long as it lives. Use it on
 * the GUI thread.
 *
 * In a Wayland session (WAYLAND_DISPLAY is set, or XDG_SESSION_TYPE is "wayland") it asks the
 * compositor: by the protocol ext-idle-notify-v1 (KWin, wlroots), else Mutter's idle monitor on the
 * session bus, else the X server. It does not wait for any of them; what hangs or goes away is not
 * known, which is logged once, and is asked again. With the protocol, a window that inhibits idleness
 * (a film, say) counts as input. Elsewhere it asks the X server.
 */
class QVCOMMON_EXPORT IdleWatcher : public QObject
{
    Q_OBJECT

public:
    /** Watches the desktop session, from now on. */
    explicit IdleWatcher(QObject* parent);
    /** Watches another source, which it takes over and polls on its own thread. */
    IdleWatcher(IIdleBackend* backend, QObject* parent);
    ~IdleWatcher() override;

    /** A new watcher, with a timer of its own, at each call; keep the pointer. */
    static QSharedPointer<IdleWatcher> instance();

    /**
     * Whether it is known how long the user has been idle. If not, polls change nothing. In a Wayland
     * session it is not known until the first answer, which takes some milliseconds.
     */
    bool isKnown() const;
    /** Asks for the whole seconds since the last input; below 0, they are not known. */
    int seconds() const;
    /** Who tells, for people: "X11", "Mutter", "ext-idle-notify-v1"; empty for a client's own. */
    QString backendName() const;

Q_SIGNALS:
    /**
     * Another whole minute without input has passed, @p sinceSeconds in all: once a minute, at the
     * first poll that sees it.
     */
    void idle(int sinceSeconds);
    /** There was input after a minute or more without; at the first poll that sees it. */
    void active();

public Q_SLOTS:
    /** Polls once; the timer calls it. */
    void checkIdleState();

private:
    IdleWatcherPrivate* d; // a child
};

} // namespace common
