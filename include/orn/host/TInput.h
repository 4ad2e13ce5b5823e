#pragma once

#include <orn/host/TSet.h>

#include <cstdint>

namespace orn {

/// The host's shift state of a key or mouse event.
enum TShiftStateItem { ssShift, ssAlt, ssCtrl, ssLeft, ssRight, ssMiddle, ssDouble };
using TShiftState = TSet<TShiftStateItem>;

enum TMouseButton { mbLeft, mbRight, mbMiddle };

/// The host's virtual key codes that the library's controllers use.
enum : std::uint16_t {
    VK_BACK = 8, VK_TAB = 9, VK_RETURN = 13, VK_SHIFT = 16, VK_CONTROL = 17, VK_ESCAPE = 27, VK_SPACE = 32,
    VK_PRIOR = 33, VK_NEXT = 34, VK_END = 35, VK_HOME = 36, VK_LEFT = 37, VK_UP = 38, VK_RIGHT = 39,
    VK_DOWN = 40, VK_INSERT = 45, VK_DELETE = 46, VK_ADD = 107, VK_SUBTRACT = 109,
    VK_F1 = 112, VK_F2 = 113, VK_F3 = 114, VK_F4 = 115
};

} // namespace orn
