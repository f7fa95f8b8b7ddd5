#include <QDebug>

// QDebug's operator for C strings is part of this library's exported interface. It is inline in
// Qt, so only a use of its address makes the compiler emit it, and only this file is built with
// visible inlines.
namespace common::logger {

extern QDebug& (QDebug::*const debugTextOperator)(const char*);
QDebug& (QDebug::*const debugTextOperator)(const char*) = &QDebug::operator<<;

} // namespace common::logger
