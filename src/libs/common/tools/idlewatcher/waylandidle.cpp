#include "common/tools/idlewatcher/waylandidle_p.h"

#include <cstring>

#include <ext-idle-notify-v1-client.h>
#include <wayland-client.h>

namespace common {

namespace {

constexpr uint32_t threshold = 1000; // milliseconds without input, from which on the user is idle

WaylandIdle* Self(void* data)
{
    return static_cast<WaylandIdle*>(data);
}

// Destroys a proxy and forgets it.
template <typename Proxy>
void Release(Proxy*& proxy, void (*destroy)(Proxy*))
{
    if (proxy)
        destroy(proxy);
    proxy = nullptr;
}

} // namespace

struct WaylandIdle::Listeners
{
    static constexpr wl_registry_listener registry{
        [](void* data, wl_registry*, uint32_t name, const char* interface, uint32_t) {
            Self(data)->Bind(name, interface);
        },
        [](void* data, wl_registry*, uint32_t name) {
            if (Self(data)->seat_ && name == Self(data)->seatName_)
                Self(data)->isSeatGone_ = true;
        }};
    static constexpr wl_callback_listener question{[](void* data, wl_callback*, uint32_t) {
        Self(data)->TakeAnswer();
    }};
    static constexpr ext_idle_notification_v1_listener notification{
        [](void* data, ext_idle_notification_v1*) { Self(data)->idled_.start(); },
        [](void* data, ext_idle_notification_v1*) {
            Self(data)->idled_.invalidate();
        }};
};

WaylandIdle::~WaylandIdle()
{
    Disconnect();
}

void WaylandIdle::Ask()
{
    if (!display_)
        Connect();
    if (!display_ || question_)
        return;
    question_ = wl_display_sync(display_);
    wl_callback_add_listener(question_, &Listeners::question, this);
    wl_display_flush(display_);
}

void WaylandIdle::Connect()
{
    // A connection that is handed over in the environment is not ours to take; without a directory
    // libwayland writes to standard error.
    const bool isOurs = !qEnvironmentVariableIsSet("WAYLAND_SOCKET") &&
                        qEnvironmentVariableIsSet("XDG_RUNTIME_DIR");
    display_ = isOurs ? wl_display_connect(nullptr) : nullptr;
    if (!display_)
        return Failed();
    registry_ = wl_display_get_registry(display_);
    wl_registry_add_listener(registry_, &Listeners::registry, this);
    reader_ = std::make_unique<QSocketNotifier>(wl_display_get_fd(display_), QSocketNotifier::Read);
    connect(reader_.get(), &QSocketNotifier::activated, this, &WaylandIdle::Read);
}

void WaylandIdle::Disconnect()
{
    if (!display_)
        return;
    reader_->setEnabled(false);
    reader_.release()->deleteLater(); // this may be its own signal
    Release(question_, wl_callback_destroy);
    Release(notification_, ext_idle_notification_v1_destroy);
    Release(notifier_, ext_idle_notifier_v1_destroy);
    Release(seat_, wl_seat_destroy);
    Release(registry_, wl_registry_destroy);
    Release(display_, wl_display_disconnect);
    idled_.invalidate();
    isSeatGone_ = false;
}

void WaylandIdle::Read()
{
    while (wl_display_prepare_read(display_) < 0)
        wl_display_dispatch_pending(display_);
    const bool isRead =
        wl_display_read_events(display_) >= 0 && wl_display_dispatch_pending(display_) >= 0;
    if (isRead && !isSeatGone_) {
        wl_display_flush(display_); // what was asked for in answer to events
        return;
    }
    Disconnect();
    Failed();
}

void WaylandIdle::Bind(uint32_t name, const char* interface)
{
    const auto bind = [=](const wl_interface& wanted) -> void* {
        const bool isWanted = strcmp(interface, wanted.name) == 0;
        return isWanted ? wl_registry_bind(registry_, name, &wanted, 1) : nullptr;
    };
    if (!notifier_)
        notifier_ = static_cast<ext_idle_notifier_v1*>(bind(ext_idle_notifier_v1_interface));
    if (!seat_) {
        seat_ = static_cast<wl_seat*>(bind(wl_seat_interface));
        seatName_ = name;
    }
    if (!notifier_ || !seat_ || notification_)
        return;
    notification_ = ext_idle_notifier_v1_get_idle_notification(notifier_, threshold, seat_);
    ext_idle_notification_v1_add_listener(notification_, &Listeners::notification, this);
}

void WaylandIdle::TakeAnswer()
{
    Release(question_, wl_callback_destroy);
    if (notification_)
        Answered();
    else if (!notifier_)
        Failed();
}

qint64 WaylandIdle::Milliseconds() const
{
    return idled_.isValid() ? threshold + idled_.elapsed() : 0;
}

} // namespace common
