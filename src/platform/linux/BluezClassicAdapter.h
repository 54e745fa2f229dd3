#pragma once

#include "platform/linux/BluezBus.h"
#include "platform/linux/BluezWatch.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// The one Bluetooth adapter that this program uses, and the devices that BlueZ knows there. Nothing of them is
/// remembered between operations: adapters come and go, and a daemon that restarts may give everything another path.
/// Owned by the controller. One thread.
class BluezClassicAdapter {
 public:
  /// Of all discoveries together: who runs the worker gives it 12 s for a connection, with five attempts and pauses.
  static constexpr Seconds discoveryLimit{6.0};

  /// Whoever runs the worker gives up after 8 s. What the call leaves of the whole is for a look at the outcome.
  static constexpr Seconds removalLimit{7.0};
  static constexpr Seconds removalCallLimit{6.0};

  /// The adapter and one device there, as BlueZ had them at one moment.
  struct Sight {
    bool isPowered = false;  ///< False also when there is no adapter, or BlueZ cannot say.
    std::optional<BluezDevice> device;
  };

  /// With a `wantedAddress` it is the adapter of that address and no other; without, the first one that is powered, or
  /// else the first.
  BluezClassicAdapter(const BluezBus& bus, std::string wantedAddress);

  /// False also when there is no adapter.
  bool isPowered() const;

  std::vector<BluezDevice> pairedDevices() const;

  /// `address` as BlueZ writes it. inRange() makes a discovery when BlueZ does not know the device and there is time
  /// left for one.
  Sight known(const std::string& address) const;
  Sight inRange(const std::string& address);

  /// Makes BlueZ forget the device and its bond, without disconnecting it first. True when it has, or had already. Only
  /// the adapter where the device was seen is asked, whichever would be chosen by now: the bond is there.
  bool remove(const BluezDevice& device) const;

 private:
  using Deadline = std::chrono::steady_clock::time_point;

  const BluezAdapter* chosenFrom(const BluezObjects& objects) const;
  static Sight sightOf(const BluezAdapter* adapter, const BluezObjects& objects, const std::string& address);
  std::optional<BluezDevice> discover(const std::string& adapterPath, const std::string& address) const;
  std::optional<BluezDevice> awaitArrival(BluezWatch& watch, const std::string& adapterPath, const std::string& address,
                                          Deadline deadline) const;
  bool isForgotten(const BluezDevice& device, const BluezWatch& watch, Deadline deadline) const;

  const BluezBus& bus_;
  const std::string wantedAddress_;
  Seconds discoveryLeft_ = discoveryLimit;
};

}  // namespace zolvex
