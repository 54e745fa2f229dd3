#pragma once

#include "bluetooth/worker/BluetoothClassicController.h"
#include "platform/linux/BluezClassicAdapter.h"
#include "platform/linux/BluezWatch.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace zolvex {

/// One device on the chosen adapter, known by its address: its object path is looked up again whenever BlueZ may have
/// changed it. Uses the controller's parts, which must outlive it. One thread.
class BluezClassicDevice final : public BluetoothClassicDevice {
 public:
  /// Longer than BlueZ itself takes to give up.
  static constexpr Seconds connectLimit{30.0};

  /// For the end of a connection that somebody else has begun, and between two looks at it.
  static constexpr Seconds runningConnectionLimit{8.0};
  static constexpr Seconds runningConnectionPause{0.25};

  /// Until BlueZ has said whether a device with a link is in use.
  static constexpr Seconds useCheckLimit{2.0};

  /// After a failure, until BlueZ has said that a link came up and ended; none does with a device that sleeps.
  static constexpr Seconds refusalLimit{0.25};

  /// A device that has bonded with another computer since does not take our old bond any more, and BlueZ keeps the bond
  /// all the same. So many refusals in a row, of which the first may have been chance, and the bond is made anew.
  static constexpr int refusalsBeforeNewBond = 2;

  BluezClassicDevice(const BluezBus& bus, BluezClassicAdapter& adapter, const BluezDevice& device)
      : bus_(bus), adapter_(adapter), device_(device) {}

  bool isConnected() override;
  int rssi() override;
  std::int32_t openConnection() override;
  bool removePairing() override { return adapter_.remove(device_); }

 private:
  std::int32_t attempt();
  std::int32_t connectPaired();
  void noteRefusal(const BluezWatch& watch);
  std::int32_t awaitRunningConnection(const std::function<bool()>& isGone) const;
  SdBusMessage connectCall() const;

  const BluezBus& bus_;
  BluezClassicAdapter& adapter_;
  BluezDevice device_;  ///< As it was seen last.
  int refusedBonds_ = 0;
  std::optional<bool> isInUse_;  ///< What is known of the link that was there at the last look or attempt.
};

}  // namespace zolvex
