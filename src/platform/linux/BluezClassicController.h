#pragma once

#include "bluetooth/worker/BluetoothClassicController.h"
#include "platform/linux/BluezClassicAdapter.h"

#include <QDBusConnection>
#include <QString>

namespace zolvex {

/// BlueZ as the worker's Bluetooth Classic stack. Without a bus, BlueZ or an adapter it is a controller that is off and
/// has no devices. Owned by the worker; devices must not outlive it. The thread of the QCoreApplication.
class BluezClassicController final : public BluetoothClassicController {
 public:
  struct Options {
    /// Bus name of BlueZ.
    QString service = QStringLiteral("org.bluez");

    /// Address of the adapter to use, in any notation; empty for the first one that is powered.
    QString adapterAddress = {};
  };

  BluezClassicController(const QDBusConnection& connection, const Options& options);

  bool isPoweredOn() override { return adapter_.isPowered(); }
  std::unique_ptr<BluetoothClassicDevice> deviceWithAddress(const std::string& address, Lookup lookup) override;
  std::vector<PairedDevice> pairedDevices() override;

 private:
  const BluezBus bus_;
  const BluezClassicAdapter adapter_;
};

}  // namespace zolvex
