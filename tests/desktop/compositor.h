#pragma once

#include <QList>
#include <QScopedPointer>
#include <QSocketNotifier>

struct wl_display;
struct wl_resource;

/** A Wayland server with a seat that speaks ext-idle-notify-v1, as WAYLAND_DISPLAY. */
class Compositor
{
public:
    Compositor();
    ~Compositor();

    void SetHanging(bool isHanging) { reader_->setEnabled(!isHanging); }
    /** Tells its clients that the user is idle, or no longer so. */
    void Tell(bool isIdle);

    QList<wl_resource*> notifications;

    Q_DISABLE_COPY_MOVE(Compositor)

private:
    wl_display* display_;
    QScopedPointer<QSocketNotifier> reader_;
};
