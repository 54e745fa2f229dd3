#include "core/Log.h"
#include "core/SettingsKeys.h"
#include "ownership/DeviceManagerFlow.h"

#include <chrono>
#include <memory>
#include <ratio>
#include <string>

namespace zolvex {

namespace {

constexpr Logger logger("DeviceManager");

bool isAutoReleaseEnabled(const UserDefaults& defaults) {
  return defaults.boolean(settings::autoRelease).value_or(false);
}

bool isInactiveReleaseEnabled(const UserDefaults& defaults) {
  return isAutoReleaseEnabled(defaults) &&
         defaults.number(settings::autoReleaseHours) == DeviceManager::hoursForReleaseWhenInactive;
}

}  // namespace

void DeviceManager::scheduleInactiveRelease(const std::string& reason) {
  if (!isInactiveReleaseEnabled(use_.defaults)) {
    logger.info("{}: inactive release skipped by auto-release settings", reason);
    return;
  }
  pendingInactiveReleaseWorkItem_ =
      use_.mainQueue.after(inactiveReleaseDelay, [this, reason] { releaseForAutomation(reason, true); });
}

void DeviceManager::releaseForAutomation(const std::string& reason, bool inactive) {
  if (!isAutoConnectEnabled()) return;
  if (inactive && !isInactiveReleaseEnabled(use_.defaults)) {
    logger.info("{}: release skipped by auto-release settings", reason);
    return;
  }
  if (use_.bluetoothStore.peripherals().empty()) return;
  pendingInactiveReleaseWorkItem_.cancel();
  autoConnectRetryWorkItem_.cancel();
  autoReleaseTimer_.cancel();
  logger.info("{}: releasing devices so the other Mac can take over", reason);
  beginOperation(reason + ": releasing...", SwitchOperation::releasing, DeviceOwnershipState::releasing);
  removeAllPairings(std::make_shared<Release>(Release{.reason = reason}));
}

void DeviceManager::startAutoReleaseTimer() {
  autoReleaseTimer_.cancel();
  if (!isAutoReleaseEnabled(use_.defaults)) return;
  const auto hours = use_.defaults.number(settings::autoReleaseHours).value_or(0);
  if (hours == hoursForReleaseWhenInactive) {
    logger.info("Auto-release: using lock and display inactivity");
  } else if (hours > 0) {
    const Seconds delay = std::chrono::duration<double, std::ratio<3600>>(hours);
    logger.info("Auto-release timer started: {:f}h ({:f}s)", hours, delay.count());
    autoReleaseTimer_ = use_.mainQueue.after(delay, [this] {
      logger.info("Auto-release timer fired");
      releaseDevices();
    });
  }
}

}  // namespace zolvex
