#include "ui/FirstOpening.h"

#include "core/SettingsKeys.h"

namespace zolvex {

bool takeFirstOpening(UserDefaults& defaults, bool hasDevices, bool hasPeer) {
  if (defaults.stored(settings::didOpenAtFirstStart)) return false;
  defaults.note(settings::didOpenAtFirstStart, true);
  return !hasDevices && !hasPeer;
}

}  // namespace zolvex
