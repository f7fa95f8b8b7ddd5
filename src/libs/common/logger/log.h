#pragma once

#include "common/logger/ilogger.h"
#include "common/logger/message.h"

/**
 * @file
 * The log statement.
 *
 * A source file defines its category and its path once, and then logs in one line each:
 * @code
 * #include <common/logger/log.h>
 *
 * namespace {
 * constexpr common::logger::ICategory logCategory{"client.calls"};
 * constexpr char logSource[] = "src/client/calls";
 * } // namespace
 *
 * void Client::Dial(const QString& address)
 * {
 *     QVLOG(INFO) << "dialling '" << address << "'";
 * }
 * @endcode
 */

namespace common::logger {

/// @cond
// The condition of a log statement. Compiled into clients, so it stays as it is.
class Dropped
{
public:
    Dropped(const ICategory* category, IMessage::Priority priority)
        : dropped_(!BeginStatement(category, priority))
    {
    }
    explicit operator bool() const { return dropped_; }

    // Makes both branches of a log statement void; binds weaker than <<, stronger than ?:.
    struct Discard
    {
        template <typename T>
        void operator&(T&&) const
        {
        }
    };

private:
    bool dropped_;
};

// These would take the condition apart from its statement. Put the statement in parentheses.
template <typename T>
void operator&&(T&&, Dropped) = delete;
template <typename T>
void operator||(T&&, Dropped) = delete;
/// @endcond

} // namespace common::logger

/**
 * Begins a log statement of the given priority (the bare name: ERROR, DEBUG, ...): what is streamed
 * into it goes into a QTextStream, and the statement's end hands the message to the current logger.
 * Uses @c logCategory and @c logSource of the enclosing scope.
 *
 * A statement that BeginStatement() refuses builds nothing and evaluates nothing of what is
 * streamed into it, so its operands must have no effects that the program needs. It is an
 * expression of type @c void: it may stand alone, without braces after an @c if, and in either
 * branch of @c ?:.
 */
#define QVLOG(priority) QVLOG_STATEMENT(logCategory, __func__, priority)

/**
 * The same under a category of its own in place of @c logCategory: an ICategory, as an lvalue
 * without effects, since it stands twice in the expansion.
 */
#define QVLOG_TO(category, priority) QVLOG_STATEMENT(category, __func__, priority)

/** The same for a helper that logs in the name of another function. */
#define QVLOG_FROM(function, priority) QVLOG_STATEMENT(logCategory, function, priority)

/** What the others are made of. */
#define QVLOG_STATEMENT(category, function, priority)                                              \
    ::common::logger::Dropped(&(category), ::common::logger::IMessage::priority)                   \
        ? static_cast<void>(0)                                                                     \
        : ::common::logger::Dropped::Discard() &                                                   \
              ::common::logger::Message(&(category), ::common::logger::IMessage::priority,         \
                                        logSource, function, __LINE__)                             \
                  .Out()
