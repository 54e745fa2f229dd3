#include "core/LaunchAtLogin.h"

#include "core/Log.h"
#include "core/SettingsKeys.h"

namespace zolvex {

namespace {

constexpr Logger logger("LaunchAtLogin");

}  // namespace

void applyLaunchAtLoginDefault(LaunchAtLogin& launchAtLogin, UserDefaults& defaults) {
  if (defaults.stored(settings::didConfigureLaunchAtLoginDefault)) return;
  if (!launchAtLogin.status().isEnabled)
    if (const auto failure = launchAtLogin.enable()) return logger.error("Launch at login default error: {}", *failure);
  defaults.note(settings::didConfigureLaunchAtLoginDefault, true);
}

LaunchAtLogin::Failure setLaunchAtLogin(bool enabled, LaunchAtLogin& launchAtLogin, UserDefaults& defaults) {
  auto failure = enabled ? launchAtLogin.enable() : launchAtLogin.disable();
  if (failure)
    logger.error("Launch at login error: {}", *failure);
  else
    defaults.set(settings::didConfigureLaunchAtLoginDefault, true);
  return failure;
}

}  // namespace zolvex
