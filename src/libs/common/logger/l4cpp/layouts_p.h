#pragma once

class QString;

namespace log4cpp {
class Layout;
} // namespace log4cpp

namespace common::logger::l4cpp {

/** See Logger::getLayout(). */
log4cpp::Layout* MakeLayout(unsigned int format, const QString& pattern);

} // namespace common::logger::l4cpp
