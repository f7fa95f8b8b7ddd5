#pragma once

#include "common/qvcommon_export.h"

namespace tools {

/** The state of the keyboard: not known on Linux. */
class QVCOMMON_EXPORT Keyboard
{
public:
    /** Always false. */
    static bool IsCapsLock();
};

} // namespace tools
