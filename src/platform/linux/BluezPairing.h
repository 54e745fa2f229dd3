#pragma once

#include "platform/linux/BluezClassicAdapter.h"
#include "platform/linux/BluezPairingAgent.h"

#include <cstdint>
#include <optional>

namespace zolvex {

/// One pairing of one device, with an agent of its own: without asking the user first; with a passkey to be typed on
/// the device when that is refused; anew, when BlueZ has only half of a bond. A pairing that somebody else has begun is
/// waited for. One thread.
class BluezPairing {
 public:
  /// Longer than BlueZ itself takes to give up.
  static constexpr Seconds pairLimit{30.0};

  /// For the end of a pairing that somebody else has begun.
  static constexpr Seconds runningPairingLimit{8.0};

  BluezPairing(const BluezBus& bus, BluezClassicAdapter& adapter) : bus_(bus), adapter_(adapter) {}

  /// An ioReturn status.
  std::int32_t pair(const BluezDevice& device) const;

 private:
  BluezAnswer pairOffering(BluezPairingAgent::Capability capability, const BluezDevice& device) const;
  std::optional<BluezDevice> foundAnew(const BluezDevice& device) const;
  std::int32_t awaitRunningPairing(const BluezDevice& device) const;

  const BluezBus& bus_;
  BluezClassicAdapter& adapter_;
};

}  // namespace zolvex
