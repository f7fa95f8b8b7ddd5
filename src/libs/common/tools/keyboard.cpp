#include "common/tools/keyboard.h"

namespace tools {

bool Keyboard::IsCapsLock()
{
    return false;
}

} // namespace tools
