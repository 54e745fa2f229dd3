#include "ui/DevicePresentation.h"

#include "bluetooth/BluetoothPeripheralStore.h"

namespace zolvex {

namespace {

Colour dotOf(const BluetoothPeripheral& device, bool isSwitching) {
  if (device.isConnected) return Colour::green;
  return isSwitching ? Colour::orange : Colour::gray;
}

std::string_view captionOf(const BluetoothPeripheral& device, bool isSwitching) {
  if (!isSwitching) return "";
  return device.isConnected ? "Connected" : "Disconnected";
}

}  // namespace

std::vector<DeviceRow> presentDevices(std::span<const BluetoothPeripheral> devices, bool isSwitching) {
  std::vector<DeviceRow> rows;
  for (const auto& device : devices)
    rows.push_back({device.id, deviceSymbol(device.name), device.name, dotOf(device, isSwitching),
                    captionOf(device, isSwitching)});
  return rows;
}

Symbol deviceSymbol(std::string_view deviceName) {
  return Symbol::named(BluetoothPeripheralStore::iconName(deviceName));
}

}  // namespace zolvex
