#pragma once

#include "common/tools/idlewatcher/askedsource_p.h"

#include <QSocketNotifier>

#include <memory>

struct ext_idle_notification_v1;
struct ext_idle_notifier_v1;
struct wl_callback;
struct wl_display;
struct wl_registry;
struct wl_seat;

namespace common {

/** Listens to a compositor that speaks ext-idle-notify-v1, on a connection of its own. */
class WaylandIdle : public AskedSource
{
    Q_OBJECT

public:
    WaylandIdle() = default;
    ~WaylandIdle() override;

    const char* Name() const override { return "ext-idle-notify-v1"; }
    void Ask() override;

protected:
    qint64 Milliseconds() const override;

private:
    struct Listeners;

    void Connect();
    void Disconnect();
    void Read();
    void Bind(uint32_t name, const char* interface);
    void TakeAnswer();

    wl_display* display_ = nullptr;
    wl_registry* registry_ = nullptr;
    wl_seat* seat_ = nullptr;
    ext_idle_notifier_v1* notifier_ = nullptr;
    ext_idle_notification_v1* notification_ = nullptr;
    wl_callback* question_ = nullptr; // comes back once all before it was handled
    uint32_t seatName_ = 0;
    bool isSeatGone_ = false;
    std::unique_ptr<QSocketNotifier> reader_;
    QElapsedTimer idled_; // runs while the user is idle
};

} // namespace common
