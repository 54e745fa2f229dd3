#pragma once

#include "control/ControlError.h"
#include "core/UserDefaults.h"

namespace zolvex::control {

/// What to tell after a change of settings: nothing, or that it counts and cannot be saved. Main thread.
Refusal unsavedChange(const UserDefaults& defaults);

}  // namespace zolvex::control
