#pragma once

#include "common/logger/ilogger.h"

#include <string>

namespace common::logger {

/**
 * What follows a line's text where the logger writes positions, with the function if the format
 * says so: " (Load: file: src/libs/common/tools/jsonfile(40))". Empty for a message without a file.
 */
std::string PositionText(const ILogger& logger, const IMessage& message, unsigned int format);

} // namespace common::logger
