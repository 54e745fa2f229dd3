#pragma once

#include "bluetooth/worker/BluetoothClassicController.h"
#include "platform/linux/BluezClassicAdapter.h"

#include <string>

namespace zolvex {

/// BlueZ as the worker's Bluetooth Classic stack. Without a bus, BlueZ or an adapter it is a controller that is off and
/// has no devices. Owned by the worker; devices must not outlive it. One thread.
class BluezClassicController final : public BluetoothClassicController {
 public:
  struct Options {
    /// Bus name of BlueZ.
    std::string service = "org.bluez";

    /// Address of the adapter to use, in any notation; empty for the first one that is powered.
    std::string adapterAddress = {};
  };

  /// `bus` may be none. Waits until it has taken us in, 5 s at the most.
  BluezClassicController(SdBusHandle bus, const Options& options);

  Found deviceWithAddress(const std::string& address, Lookup lookup) override;
  std::vector<PairedDevice> pairedDevices() override;

 private:
  const BluezBus bus_;
  BluezClassicAdapter adapter_;
};

}  // namespace zolvex
