#include "compositor.h"

#include <ext-idle-notify-v1-server.h>
#include <wayland-server.h>

namespace {

using NotifierRequests = struct ext_idle_notifier_v1_interface;
using NotificationRequests = struct ext_idle_notification_v1_interface;

void Destroy(wl_client*, wl_resource* resource)
{
    wl_resource_destroy(resource);
}

const NotificationRequests notificationRequests{Destroy};

void Notify(wl_client* client, wl_resource* notifier, uint32_t id, uint32_t, wl_resource*)
{
    auto* compositor = static_cast<Compositor*>(wl_resource_get_user_data(notifier));
    auto* notification = wl_resource_create(client, &ext_idle_notification_v1_interface, 1, id);
    const auto forget = [](wl_resource* resource) {
        static_cast<Compositor*>(wl_resource_get_user_data(resource))
            ->notifications.removeAll(resource);
    };
    wl_resource_set_implementation(notification, &notificationRequests, compositor, forget);
    compositor->notifications << notification;
}

const NotifierRequests notifierRequests{Destroy, Notify};

void BindNotifier(wl_client* client, void* compositor, uint32_t version, uint32_t id)
{
    auto* resource = wl_resource_create(client, &ext_idle_notifier_v1_interface, int(version), id);
    wl_resource_set_implementation(resource, &notifierRequests, compositor, nullptr);
}

void BindSeat(wl_client* client, void*, uint32_t version, uint32_t id)
{
    wl_resource_create(client, &wl_seat_interface, int(version), id);
}

} // namespace

Compositor::Compositor() : display_(wl_display_create())
{
    qputenv("WAYLAND_DISPLAY", wl_display_add_socket_auto(display_));
    wl_global_create(display_, &ext_idle_notifier_v1_interface, 1, this, BindNotifier);
    wl_global_create(display_, &wl_seat_interface, 1, this, BindSeat);
    wl_event_loop* loop = wl_display_get_event_loop(display_);
    reader_.reset(new QSocketNotifier(wl_event_loop_get_fd(loop), QSocketNotifier::Read));
    QObject::connect(reader_.data(), &QSocketNotifier::activated, [=] {
        wl_event_loop_dispatch(loop, 0);
        wl_display_flush_clients(display_);
    });
}

Compositor::~Compositor()
{
    reader_.reset();
    wl_display_destroy_clients(display_);
    wl_display_destroy(display_);
}

void Compositor::Tell(bool isIdle)
{
    for (wl_resource* notification : qAsConst(notifications)) {
        if (isIdle)
            ext_idle_notification_v1_send_idled(notification);
        else
            ext_idle_notification_v1_send_resumed(notification);
    }
    wl_display_flush_clients(display_);
}
