#include "compositor.h"

#include <ext-idle-notify-v1-server.h>
#include <wayland-server.h>

namespace {

// Of either interface 0 is "destroy"; 1 asks a notifier to tell when the user is idle.
int Dispatch(const void*, void* target, uint32_t opcode, const wl_message*, wl_argument* arguments)
{
    auto* resource = static_cast<wl_resource*>(target);
    auto* compositor = static_cast<Compositor*>(wl_resource_get_user_data(resource));
    if (opcode == 0) {
        wl_resource_destroy(resource);
        return 0;
    }
    auto* notification = wl_resource_create(wl_resource_get_client(resource),
                                            &ext_idle_notification_v1_interface, 1, arguments[0].n);
    wl_resource_set_dispatcher(notification, Dispatch, nullptr, compositor, [](wl_resource* gone) {
        static_cast<Compositor*>(wl_resource_get_user_data(gone))->notifications.removeAll(gone);
    });
    compositor->notifications << notification;
    return 0;
}

void BindNotifier(wl_client* client, void* compositor, uint32_t version, uint32_t id)
{
    auto* notifier = wl_resource_create(client, &ext_idle_notifier_v1_interface, int(version), id);
    wl_resource_set_dispatcher(notifier, Dispatch, nullptr, compositor, nullptr);
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
