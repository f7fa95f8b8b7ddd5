#pragma once

#include "common/logger/message.h"

#include <string>

namespace common::logger {

/** Bits of the format that ILogger::Configure() takes. */
constexpr quint32 positionBit = 0x1;
constexpr quint32 functionBit = 0x2;

/**
 * What follows a line's text: " (Load: file: src/libs/common/tools/jsonfile(40))", as the format
 * has it; empty for a message without a file.
 */
std::string PositionText(const IMessage& message, quint32 format);

} // namespace common::logger
