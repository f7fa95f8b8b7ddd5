#pragma once

#include <QtGlobal>

namespace common::logger {

// Threads note that they are within a log statement, with two plain stores: an atomic counter that
// they share would cost more than all the rest of a statement that is dropped. Before what they use
// is destroyed, they are waited for. A message's stream goes after its statement has ended, and is
// not waited for: its end frees memory and uses no static object.

/** A statement begins on this thread, perhaps within another one. */
void EnterStatement();
/** It ends. */
void LeaveStatement();

/**
 * Waits, a second at most, until each other thread was out of all statements once. Not after
 * BeginExit(), which has done so: what begins later is dropped.
 */
void AwaitStatements();

/** From now on other threads drop their statements; waits for those that have begun. */
void BeginExit();
/** Has BeginExit() happen before the static objects that there are by now are destroyed. */
void WatchExit();

/** EnterStatement() and LeaveStatement() of a scope. */
class StatementScope
{
public:
    StatementScope() { EnterStatement(); }
    ~StatementScope() { LeaveStatement(); }
    Q_DISABLE_COPY_MOVE(StatementScope)
};

} // namespace common::logger
