#pragma once

#include "common/tools/idlesource_p.h"
#include "common/tools/idlewatcher.h"

#include <memory>

namespace common {

/**
 * Asks what a Wayland session has: the first source that is not absent, and if all are, the X server,
 * which knows its own clients only.
 */
class SessionIdleBackend : public IIdleBackend
{
public:
    /** Whether the environment is that of a Wayland session. */
    static bool IsWanted();

    SessionIdleBackend();
    ~SessionIdleBackend() override;

    int getSeconds() const override;
    /** Who tells, as far as it is known. */
    const char* Name() const;

private:
    void SkipAbsent() const;

    mutable int index_ = 0; // of the source
    mutable std::unique_ptr<IdleSource> source_;
    mutable std::unique_ptr<XcbIdleBackend> xcb_; // once there is no source

    Q_DISABLE_COPY_MOVE(SessionIdleBackend)
};

} // namespace common
