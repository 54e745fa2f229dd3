#pragma once

#include "ui/Colour.h"
#include "ui/Symbol.h"

#include <optional>
#include <string_view>

namespace zolvex {

/// What an action button asks DeviceManager for, named after the operation.
enum class DeviceAction {
  connectToThisMac,  ///< connectToThisMac(connectMissing: false)
  forceConnect,      ///< forceConnect(connectMissing: false)
  releaseDevices,
};

/// A button with a symbol beside its text.
struct ActionButton {
  std::string_view text;
  Symbol symbol;
  Colour tint;
  DeviceAction action;

  bool operator==(const ActionButton&) const = default;
};

/// The popover's main action, as wide as the popover and prominent, and a plain one below it.
struct MainActionPresentation {
  ActionButton primary;
  std::optional<ActionButton> secondary;

  bool operator==(const MainActionPresentation&) const = default;
};

/// `anyConnected`: whether a managed device is connected here. One is enough to offer their release.
MainActionPresentation presentMainAction(bool anyConnected);

}  // namespace zolvex
