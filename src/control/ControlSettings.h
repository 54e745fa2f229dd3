#pragma once

#include "control/ControlError.h"
#include "core/UserDefaults.h"
#include "peer/NetworkDeviceStore.h"

#include <QVariant>

#include <string>

namespace zolvex::control {

/// The preferences, under the rules of the settings page: its five settings, each with the values that the page
/// offers. Main thread.
class ControlSettings {
 public:
  ControlSettings(UserDefaults& defaults, NetworkDeviceStore& networkStore)
      : defaults_(defaults), networkStore_(networkStore) {}

  /// Key to value in effect (a bool, a number or a text).
  QVariantMap all() const;

  /// Refuses what the settings page could not set: unknown keys, the program's own tables, other types and values.
  Refusal set(const std::string& key, const QVariant& value);

 private:
  Refusal setSwitch(const std::string& key, const QVariant& value);
  Refusal setHours(const std::string& key, const QVariant& value);
  Refusal setTransport(const QVariant& value);

  UserDefaults& defaults_;
  NetworkDeviceStore& networkStore_;
};

}  // namespace zolvex::control
