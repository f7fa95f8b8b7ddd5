#pragma once

#include <limits>

namespace tools {

/**
 * Most bytes of one array: what fits with Qt 5, its header and final zero allowed for. With Qt 6
 * larger ones are refused, so that neither results nor stored data depend on the version.
 */
constexpr int maxArraySize = std::numeric_limits<int>::max() - 64;

} // namespace tools
