#pragma once

namespace common {

/**
 * Tells how long the user of a desktop session has been idle. It never waits: a question is answered
 * in a later event. The sources lie in a module of their own, so that only who watches loads what
 * they link.
 */
class IdleSource
{
public:
    static constexpr int unknown = -1;

    virtual ~IdleSource() = default;

    virtual const char* Name() const = 0;
    /** Asks, unless an answer is awaited. */
    virtual void Ask() = 0;
    /** Whether the session has none such; that is for good. */
    virtual bool IsAbsent() const = 0;
    /** Whole seconds since the last input, or unknown. */
    virtual int Seconds() const = 0;
};

/** What the module exports as "qvcommonIdleSource": a new source, none behind the last. */
using CreateIdleSource = IdleSource* (*)(int index);

} // namespace common
