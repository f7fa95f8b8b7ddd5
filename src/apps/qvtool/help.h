#pragma once

#include "command.h"

namespace qvtool {

/** The tool's own help. */
QString HelpText();
QString HelpText(const Command& command);

} // namespace qvtool
