#pragma once

#include <QDebug>

namespace common::logger {

/** Writes UTF-8 text as one item of the stream, through QDebug's operator for C strings. */
void WriteDebugText(QDebug& stream, const char* text);

} // namespace common::logger
