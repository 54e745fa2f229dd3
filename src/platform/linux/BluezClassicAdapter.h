#pragma once

#include "platform/linux/BluezBus.h"
#include "platform/linux/BluezWatch.h"

#include <QDeadlineTimer>
#include <QString>

#include <optional>
#include <vector>

namespace zolvex {

/// The one Bluetooth adapter that this program uses, and the devices that BlueZ knows there. Nothing is remembered
/// between operations: adapters come and go, and a daemon that restarts may give everything another path.
/// Owned by the controller. The thread of the QCoreApplication.
class BluezClassicAdapter {
 public:
  static constexpr Seconds discoveryLimit{6.0};
  static constexpr Seconds removalLimit{7.0};

  /// With a `wantedAddress` it is the adapter of that address and no other; without, the first one that is powered, or
  /// else the first.
  BluezClassicAdapter(const BluezBus& bus, QString wantedAddress);

  /// False also when there is no adapter.
  bool isPowered() const;

  std::vector<BluezDevice> pairedDevices() const;

  /// `address` as BlueZ writes it. inRange() makes a discovery when BlueZ does not know the device.
  std::optional<BluezDevice> known(const QString& address) const;
  std::optional<BluezDevice> inRange(const QString& address) const;

  /// Makes BlueZ forget the device and its bond, without disconnecting it first. True when it has, or had already.
  bool remove(const QString& address) const;

 private:
  const BluezAdapter* chosenFrom(const BluezObjects& objects) const;
  std::optional<BluezDevice> discover(const QString& adapterPath, const QString& address) const;
  std::optional<BluezDevice> awaitArrival(BluezWatch& watch, const QString& adapterPath, const QString& address,
                                          const QDeadlineTimer& deadline) const;
  bool removeObject(const BluezDevice& device) const;
  bool isForgotten(const BluezDevice& device) const;

  const BluezBus& bus_;
  const QString wantedAddress_;
};

}  // namespace zolvex
