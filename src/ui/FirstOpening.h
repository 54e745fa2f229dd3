#pragma once

#include "core/UserDefaults.h"

namespace zolvex {

/// Whether the windows open by themselves now: at the very first start, when nothing is set up, so that a newcomer
/// finds them. Notes down that there was a start; every later one leaves the windows closed.
bool takeFirstOpening(UserDefaults& defaults, bool hasDevices, bool hasPeer);

}  // namespace zolvex
