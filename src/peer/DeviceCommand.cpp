#include "peer/DeviceCommand.h"

namespace zolvex {

std::string_view rawValueOf(DeviceCommand command) {
  switch (command) {
    case DeviceCommand::healthCheck:
      return "HEALTH_CHECK";
    case DeviceCommand::released:
      return "RELEASED";
    case DeviceCommand::connected:
      return "CONNECTED";
    case DeviceCommand::pleaseRelease:
      return "PLEASE_RELEASE";
    case DeviceCommand::operationSuccess:
      return "OP_SUCCESS";
    case DeviceCommand::operationFailed:
      return "OP_FAILED";
  }
  return "";
}

std::optional<DeviceCommand> deviceCommandFromRawValue(std::string_view text) {
  using enum DeviceCommand;
  for (const auto command : {healthCheck, released, connected, pleaseRelease, operationSuccess, operationFailed})
    if (text == rawValueOf(command)) return command;
  return std::nullopt;
}

}  // namespace zolvex
