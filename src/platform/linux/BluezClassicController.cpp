#include "platform/linux/BluezClassicController.h"

#include "platform/linux/BluezAddress.h"
#include "platform/linux/BluezClassicDevice.h"

#include <utility>

namespace zolvex {

BluezClassicController::BluezClassicController(SdBusHandle bus, const Options& options)
    : bus_(std::move(bus), options.service),
      // A text that is no address is kept: it then matches no adapter, as an adapter that is not there does.
      adapter_(bus_, bluezAddress(options.adapterAddress).value_or(options.adapterAddress)) {}

BluetoothClassicController::Found BluezClassicController::deviceWithAddress(const std::string& address, Lookup lookup) {
  const auto wanted = bluezAddress(address);
  if (!wanted) return {.isPoweredOn = adapter_.isPowered()};
  const auto sight = lookup == Lookup::known ? adapter_.known(*wanted) : adapter_.inRange(*wanted);
  if (!sight.device) return {.isPoweredOn = sight.isPowered};
  return {.isPoweredOn = sight.isPowered,
          .device = std::make_unique<BluezClassicDevice>(bus_, adapter_, *sight.device)};
}

std::vector<BluetoothClassicController::PairedDevice> BluezClassicController::pairedDevices() {
  std::vector<PairedDevice> paired;
  for (const auto& device : adapter_.pairedDevices())
    paired.push_back({printedAddress(device.address), device.name, device.isConnected});
  return paired;
}

}  // namespace zolvex
