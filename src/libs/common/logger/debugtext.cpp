#include "common/logger/debugtext_p.h"

namespace common::logger {

// QDebug's operator for C strings is part of this library's exported interface. It is inline in
// Qt: taking its address makes the compiler emit it, and this file is built with visible inlines
// (see CMakeLists.txt). A direct use in any other file would hide it again in debug builds.
extern QDebug& (QDebug::*const debugTextOperator)(const char*);
QDebug& (QDebug::*const debugTextOperator)(const char*) = &QDebug::operator<<;

void WriteDebugText(QDebug& stream, const char* text)
{
    (stream.*debugTextOperator)(text);
}

} // namespace common::logger
