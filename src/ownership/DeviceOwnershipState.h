#pragma once

#include <string_view>

namespace zolvex {

/// Who holds the managed devices, as this computer knows it.
enum class DeviceOwnershipState {
  unknown,             ///< Nothing is known yet, or no devices are managed.
  thisMac,             ///< Every managed device is connected here.
  partiallyThisMac,    ///< Some of them are.
  otherMac,            ///< The peer said that it has taken them.
  released,            ///< None is connected here; this computer has let them go.
  switchingToThisMac,  ///< A connect flow is running.
  releasing,           ///< A release flow is running.
  failed,              ///< The last connect or release did not reach its goal.
  connecting,          ///< Set by nothing; presented like `failed`.
};

/// The case's own name, as in "switchingToThisMac".
std::string_view nameOf(DeviceOwnershipState state);

/// The kind of flow in progress.
enum class SwitchOperation { connecting, releasing };

/// The case's own name.
std::string_view nameOf(SwitchOperation operation);

}  // namespace zolvex
