#pragma once

#include "ui/HotKeys.h"

namespace zolvex::test {

inline const HotKey controlAltD{{"ZLVX", 1}, 'd', true, true};

}  // namespace zolvex::test
