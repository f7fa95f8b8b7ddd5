#pragma once

#include <string>

class QString;

namespace log4cpp {
class Layout;
} // namespace log4cpp

namespace common::logger::l4cpp {

/** Whether log4cpp can write lines of that pattern: its dates and widths have limits. */
bool IsWritable(const std::string& pattern);

/** See Logger::getLayout(). */
log4cpp::Layout* MakeLayout(unsigned int format, const QString& pattern);

} // namespace common::logger::l4cpp
