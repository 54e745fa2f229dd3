#include "ownership/DeviceOwnershipState.h"

namespace zolvex {

std::string_view nameOf(DeviceOwnershipState state) {
  switch (state) {
    case DeviceOwnershipState::unknown:
      return "unknown";
    case DeviceOwnershipState::thisMac:
      return "thisMac";
    case DeviceOwnershipState::partiallyThisMac:
      return "partiallyThisMac";
    case DeviceOwnershipState::otherMac:
      return "otherMac";
    case DeviceOwnershipState::released:
      return "released";
    case DeviceOwnershipState::switchingToThisMac:
      return "switchingToThisMac";
    case DeviceOwnershipState::releasing:
      return "releasing";
    case DeviceOwnershipState::failed:
      return "failed";
    case DeviceOwnershipState::connecting:
      return "connecting";
  }
  return "";
}

std::string_view nameOf(SwitchOperation operation) {
  return operation == SwitchOperation::connecting ? "connecting" : "releasing";
}

}  // namespace zolvex
