#pragma once

#include <optional>
#include <string_view>

namespace zolvex {

/// The whole vocabulary between the two computers: requests and replies.
enum class DeviceCommand {
  healthCheck,       ///< "Are you there?"
  released,          ///< "I have given up the devices."
  connected,         ///< "I hold the devices now."
  pleaseRelease,     ///< "Give up the devices, I want them."
  operationSuccess,  ///< Reply: done.
  operationFailed,   ///< Reply: not done; also what a transport answers itself when no reply came.
};

/// The command's text on the wire.
std::string_view rawValueOf(DeviceCommand command);

/// None unless `text` is exactly one of the raw values.
std::optional<DeviceCommand> deviceCommandFromRawValue(std::string_view text);

}  // namespace zolvex
