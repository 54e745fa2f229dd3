#pragma once

#include "core/Time.h"

#include <string>

namespace zolvex {

/// The delays and limits of DeviceManager.
struct DeviceManagerTuning {
  // Watching a connect for its first device.
  static constexpr Seconds connectPollInterval{0.25};
  static constexpr int connectPollLimit = 24;

  // From an event to the evaluation of automatic connect.
  static constexpr Seconds launchEvaluationDelay{2.0};
  static constexpr Seconds wakeEvaluationDelay{0.75};
  static constexpr Seconds unlockEvaluationDelay{0.5};

  static constexpr Seconds autoConnectDebounceInterval{12.0};
  static constexpr Seconds autoConnectRetryDelay{12.0};
  static constexpr int autoConnectMaxRetries = 2;
  static constexpr int unlockAutoConnectMaxRetries = 4;
  static constexpr int autoConnectStatusSettleChecks = 3;
  static constexpr Seconds autoConnectStatusSettleInterval{0.45};

  static constexpr Seconds inactiveReleaseDelay{20.0};
  static constexpr double hoursForReleaseWhenInactive = -1.0;  ///< "autoReleaseHours": on lock and display sleep.
};

/// One wish to have the devices here without a click.
struct AutoConnectAttempt {
  std::string reason;  ///< What triggered it, for example "System wake"; begins its log lines and status texts.
  bool askPeer;
  bool respectDebounce;
  int retriesRemaining;
};

}  // namespace zolvex
