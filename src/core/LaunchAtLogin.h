#pragma once

#include "core/UserDefaults.h"

#include <optional>
#include <string>

namespace zolvex {

/// Whether the system starts the application when the user logs in. Main thread; operations may take some
/// milliseconds.
class LaunchAtLogin {
 public:
  /// Why an operation failed, for people.
  using Failure = std::optional<std::string>;

  struct Status {
    bool isEnabled = false;
    std::string problem = {};  ///< Why it is not although something was set up for it; empty otherwise.
  };

  virtual ~LaunchAtLogin() = default;

  /// As it is now: the user and other programs change it, too.
  virtual Status status() const = 0;

  virtual Failure enable() = 0;
  virtual Failure disable() = 0;
};

/// Switches launch at login on for a new installation. Once any value is stored under
/// settings::didConfigureLaunchAtLoginDefault it does nothing, so that the user's choice holds; a failure is logged
/// and leaves the key unset, so that the next launch tries again.
void applyLaunchAtLoginDefault(LaunchAtLogin& launchAtLogin, UserDefaults& defaults);

/// The user's choice. After it the default is not applied any more. A failure is logged, too.
LaunchAtLogin::Failure setLaunchAtLogin(bool enabled, LaunchAtLogin& launchAtLogin, UserDefaults& defaults);

}  // namespace zolvex
