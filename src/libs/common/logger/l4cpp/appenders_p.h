#pragma once

#include <log4cpp/Appender.hh>

namespace common::logger::l4cpp {

/** Rolling a file costs log4cpp a system call for each backup that it may have. */
constexpr int mostBackups = 100000;

/** The appenders of all categories that nobody but the one who attached them will free. */
log4cpp::AppenderSet AttachedByReference();

/** Limits the backups of a rolling file, if it is one; a negative number becomes 1. */
void LimitBackups(log4cpp::Appender* appender);

/** Takes the appender away from all categories; each deletes it if it owns it. */
void DetachEverywhere(log4cpp::Appender* appender);

} // namespace common::logger::l4cpp
