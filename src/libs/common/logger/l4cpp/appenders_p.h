#pragma once

#include <log4cpp/Appender.hh>

#include <memory>

namespace common::logger::l4cpp {

/** Rolling a file costs log4cpp a system call for each backup that it may have. */
constexpr int mostBackups = 100000;

/** The appenders of all categories that nobody but the one who attached them will free. */
log4cpp::AppenderSet AttachedByReference();

/** Whether its layout is no pattern that log4cpp cannot write. */
bool HasWritableLayout(log4cpp::Appender* appender);

/** Limits the backups of a rolling file, if it is one; a negative number becomes 1. */
void LimitBackups(log4cpp::Appender* appender);

// log4cpp keeps the appenders of property files by their names, and takes them again when a later file
// names one without declaring it.

/** Owns an appender that log4cpp has made or taken again. Those of its name before it can go. */
std::unique_ptr<log4cpp::Appender> TakeOver(log4cpp::Appender* appender);

/** Takes the appender away from all categories, closes it and keeps it in case it is taken again. */
void Park(std::unique_ptr<log4cpp::Appender> appender);

} // namespace common::logger::l4cpp
