#pragma once

#include "bluetooth/BluetoothPeripheralStore.h"
#include "core/LocalHostName.h"
#include "ownership/OwnershipNotifier.h"
#include "peer/NetworkDeviceStore.h"
#include "ui/NotificationCenter.h"

#include <string>

namespace zolvex {

/// Tells the user with a system notification that the devices have moved. Asks for permission at its first use and
/// respects a refusal; every problem ends in a log line. Stateless; main thread.
class ZolvexNotifier final : public OwnershipNotifier {
 public:
  ZolvexNotifier(NotificationCenter& center, const BluetoothPeripheralStore& bluetoothStore,
                 const NetworkDeviceStore& networkStore, const LocalHostName& hostName);

  void notifyDevicesMovedHere() override;
  void notifySomeDevicesMovedHere() override;
  void notifyDevicesMovedToPeer() override;

 private:
  std::string deviceLabel() const;
  std::string localName() const;
  std::string peerName() const;
  void deliver(std::string title);

  NotificationCenter& center_;
  const BluetoothPeripheralStore& bluetoothStore_;
  const NetworkDeviceStore& networkStore_;
  const LocalHostName& hostName_;
};

}  // namespace zolvex
