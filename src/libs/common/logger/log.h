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

/**
 * Begins a log statement of the given priority (the bare name: ERROR, DEBUG, ...) and yields the
 * QTextStream that takes its text. The statement's end hands the message to the current logger.
 * Uses @c logCategory and @c logSource of the enclosing scope.
 */
#define QVLOG(priority) QVLOG_STATEMENT(logCategory, __func__, priority)

/** The same under a category of its own, for files with several. */
#define QVLOG_TO(category, priority) QVLOG_STATEMENT(category, __func__, priority)

/** The same for a helper that logs in the name of another function. */
#define QVLOG_FROM(function, priority) QVLOG_STATEMENT(logCategory, function, priority)

/** What the others are made of. */
#define QVLOG_STATEMENT(category, function, priority)                                              \
    ::common::logger::Message(::common::logger::GetLogger(), &(category),                          \
                              ::common::logger::IMessage::priority, logSource, function, __LINE__) \
        .Out()
