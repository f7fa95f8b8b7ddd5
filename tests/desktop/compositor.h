#pragma once

#include <QList>
#include <QSocketNotifier>

#include <ext-idle-notify-v1-server.h>
#include <wayland-server.h>

/** A Wayland server with a seat that speaks ext-idle-notify-v1, as WAYLAND_DISPLAY. */
class Compositor
{
public:
    Compositor()
    {
        qputenv("WAYLAND_DISPLAY", wl_display_add_socket_auto(display_));
        wl_global_create(display_, &ext_idle_notifier_v1_interface, 1, this, BindNotifier);
        wl_global_create(display_, &wl_seat_interface, 1, this,
                         [](wl_client* client, void*, uint32_t version, uint32_t id) {
                             wl_resource_create(client, &wl_seat_interface, int(version), id);
                         });
        QObject::connect(&reader_, &QSocketNotifier::activated, [this] {
            wl_event_loop_dispatch(wl_display_get_event_loop(display_), 0);
            wl_display_flush_clients(display_);
        });
    }
    ~Compositor()
    {
        wl_display_destroy_clients(display_);
        wl_display_destroy(display_);
    }

    void SetHanging(bool isHanging) { reader_.setEnabled(!isHanging); }
    /** Tells its clients, those that ask later too, that the user is idle, or no longer so. */
    void Tell(bool isIdle)
    {
        tell_ =
            isIdle ? ext_idle_notification_v1_send_idled : ext_idle_notification_v1_send_resumed;
        for (wl_resource* notification : notifications_)
            tell_(notification);
        wl_display_flush_clients(display_);
    }

private:
    // Of either interface 0 is "destroy"; 1 asks a notifier to tell when the user is idle.
    static int Dispatch(const void*, void* target, uint32_t opcode, const wl_message*,
                        wl_argument* arguments)
    {
        auto* resource = static_cast<wl_resource*>(target);
        if (opcode == 0)
            wl_resource_destroy(resource);
        else
            static_cast<Compositor*>(wl_resource_get_user_data(resource))
                ->AddNotification(wl_resource_get_client(resource), arguments[0].n);
        return 0;
    }

    void AddNotification(wl_client* client, uint32_t id)
    {
        notifications_ << wl_resource_create(client, &ext_idle_notification_v1_interface, 1, id);
        wl_resource_set_dispatcher(notifications_.last(), Dispatch, nullptr, this, [](auto* gone) {
            static_cast<Compositor*>(wl_resource_get_user_data(gone))
                ->notifications_.removeAll(gone);
        });
        if (tell_)
            tell_(notifications_.last());
    }

    static void BindNotifier(wl_client* client, void* compositor, uint32_t version, uint32_t id)
    {
        auto* notifier =
            wl_resource_create(client, &ext_idle_notifier_v1_interface, int(version), id);
        wl_resource_set_dispatcher(notifier, Dispatch, nullptr, compositor, nullptr);
    }

    wl_display* display_ = wl_display_create();
    QSocketNotifier reader_{wl_event_loop_get_fd(wl_display_get_event_loop(display_)),
                            QSocketNotifier::Read};
    QList<wl_resource*> notifications_;
    void (*tell_)(wl_resource*) = nullptr;
};
