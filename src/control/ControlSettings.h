#pragma once

#include "control/ControlError.h"
#include "core/LaunchAtLogin.h"
#include "core/UserDefaults.h"
#include "peer/NetworkDeviceStore.h"

#include <QVariant>

#include <string>

namespace zolvex::control {

/// The preferences, under the rules of the settings page: its five settings, each with the values that the page
/// offers, and launch at login, which the session keeps. Main thread.
class ControlSettings {
 public:
  ControlSettings(UserDefaults& defaults, NetworkDeviceStore& networkStore, LaunchAtLogin& launchAtLogin)
      : defaults_(defaults), networkStore_(networkStore), launchAtLogin_(launchAtLogin) {}

  /// Key to value in effect (a bool, a number or a text).
  QVariantMap all() const;

  /// Refuses what the settings page could not set: unknown keys, the program's own tables, other types and values.
  /// Launch at login may fail. A change that is in effect but cannot be saved is an error, too, as its text says.
  Refusal set(const std::string& key, const QVariant& value);

 private:
  Refusal change(const std::string& key, const QVariant& value);
  Refusal setSwitch(const std::string& key, const QVariant& value);
  Refusal setHours(const std::string& key, const QVariant& value);
  Refusal setTransport(const QVariant& value);
  Refusal setLaunch(const QVariant& value);

  UserDefaults& defaults_;
  NetworkDeviceStore& networkStore_;
  LaunchAtLogin& launchAtLogin_;
};

}  // namespace zolvex::control
