#include "core/Log.h"
#include "core/SettingsKeys.h"
#include "ownership/DeviceManager.h"

#include <functional>
#include <string>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("DeviceManager");

/// Whether `earlier` lies less than the debounce interval before `now`. A clock that was set back debounces nothing.
bool isDebounced(Date earlier, Date now) {
  return now >= earlier && now - earlier < DeviceManager::autoConnectDebounceInterval;
}

}  // namespace

void DeviceManager::startObservers() {
  const auto observe = [this](SessionEvent event, std::function<void()> handler) {
    return use_.sessionEvents.observe(event, std::move(handler));
  };
  systemWakeObserver_ = observe(SessionEvent::systemDidWake, [this] {
    use_.networkStore.endOverdueCommand();
    handleWake("System wake");
  });
  systemSleepObserver_ =
      observe(SessionEvent::systemWillSleep, [this] { releaseForAutomation("System sleep", false); });
  screenWakeObserver_ = observe(SessionEvent::displayDidWake, [this] { handleWake("Screen wake"); });
  screenSleepObserver_ = observe(SessionEvent::displayDidSleep, [this] { scheduleInactiveRelease("Screen sleep"); });
  screenLockedObserver_ = observe(SessionEvent::screenLocked, [this] { scheduleInactiveRelease("Screen lock"); });
  screenUnlockObserver_ = observe(SessionEvent::screenUnlocked, [this] { handleUnlock(); });
}

void DeviceManager::handleWake(const std::string& reason) {
  pendingInactiveReleaseWorkItem_.cancel();
  evaluations_.after(wakeEvaluationDelay, [this, reason] {
    evaluateAutoConnect({reason, false, true, autoConnectMaxRetries});
  });
}

void DeviceManager::handleUnlock() {
  pendingInactiveReleaseWorkItem_.cancel();
  lastAutoConnectAttempt_ = distantPast;
  evaluations_.after(unlockEvaluationDelay, [this] {
    evaluateAutoConnect({"Screen unlock", true, true, unlockAutoConnectMaxRetries});
  });
}

void DeviceManager::evaluateAutoConnect(const AutoConnectAttempt& attempt) {
  if (!mayAutoConnect(attempt)) return;
  lastAutoConnectAttempt_ = use_.mainQueue.now();
  settle(attempt, autoConnectStatusSettleChecks);
}

bool DeviceManager::mayAutoConnect(const AutoConnectAttempt& attempt) const {
  const auto& reason = attempt.reason;
  if (!isAutoConnectEnabled()) {
    logger.info("{}: auto-connect disabled", reason);
  } else if (use_.bluetoothStore.peripherals().empty()) {
    logger.info("{}: auto-connect skipped because no managed devices are configured", reason);
  } else if (isSwitching()) {
    logger.info("{}: auto-connect skipped because switching is already in progress", reason);
  } else if (attempt.respectDebounce && isDebounced(lastAutoConnectAttempt_, use_.mainQueue.now())) {
    logger.info("{}: auto-connect skipped by debounce", reason);
  } else {
    return true;
  }
  return false;
}

void DeviceManager::settle(const AutoConnectAttempt& attempt, int checksLeft) {
  const auto status = use_.bluetoothStore.connectionStatus();
  if (checksLeft == 1) return decideAutoConnect(attempt, status);
  evaluations_.after(autoConnectStatusSettleInterval, [this, attempt, checksLeft] { settle(attempt, checksLeft - 1); });
}

void DeviceManager::decideAutoConnect(const AutoConnectAttempt& attempt, ConnectionStatus status) {
  if (!isAutoConnectEnabled() || isSwitching()) return;
  if (status != ConnectionStatus::allConnected) return autoConnect(attempt, status);
  logger.info("{}: auto-connect skipped because devices are already connected", attempt.reason);
  applyConnectionSummary(status, true);
  startAutoReleaseTimer();
}

void DeviceManager::autoConnect(const AutoConnectAttempt& attempt, ConnectionStatus status) {
  ownershipState_ = DeviceOwnershipState::switchingToThisMac;
  lastResult_ =
      attempt.reason + (status == ConnectionStatus::partial ? ": connecting missing devices" : ": auto-connecting");
  logger.info("{}: auto-connecting", attempt.reason);
  wakeDisplay();
  const auto finished = lifetime_.guard([this, attempt] { retryAutoConnect(attempt); });
  if (attempt.askPeer)
    connectToThisMac(true, finished);
  else
    forceConnect(true, finished);
}

void DeviceManager::retryAutoConnect(const AutoConnectAttempt& attempt) {
  if (attempt.retriesRemaining <= 0 || !isAutoConnectEnabled() || isSwitching()) return;
  // Without managed devices there is nothing to retry, although none of them is connected.
  if (use_.bluetoothStore.peripherals().empty()) return;
  if (use_.bluetoothStore.connectionStatus() != ConnectionStatus::allDisconnected) return;
  autoConnectRetryWorkItem_.cancel();
  lastResult_ = attempt.reason + ": retrying...";
  logger.info("{}: scheduling auto-connect retry, remaining={}", attempt.reason, attempt.retriesRemaining);
  autoConnectRetryWorkItem_ = use_.mainQueue.after(autoConnectRetryDelay, [this, attempt] {
    autoConnectRetryWorkItem_.cancel();
    evaluateAutoConnect({attempt.reason + " retry", attempt.askPeer, false, attempt.retriesRemaining - 1});
  });
}

void DeviceManager::wakeDisplay() {
  logger.info("Waking display via caffeinate");
  use_.displayWaker.wakeDisplay();
}

bool DeviceManager::isAutoConnectEnabled() const {
  return use_.defaults.boolean(settings::autoConnect).value_or(false);
}

}  // namespace zolvex
