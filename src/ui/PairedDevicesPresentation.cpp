#include "ui/PairedDevicesPresentation.h"

#include "ui/DevicePresentation.h"

#include <algorithm>

namespace zolvex {

namespace {

constexpr std::string_view scanningText = "Scanning paired devices...";
constexpr std::string_view nothingFoundText = "No paired Bluetooth devices found";
constexpr std::string_view nothingFoundHintText =
    "Pair your Magic Keyboard and Trackpad via System Settings first, then come back here.";

PairedDeviceRow rowOf(const PairedDevicePayload& device, bool isSelected) {
  return {.id = device.id,
          .symbol = deviceSymbol(device.name),
          .name = device.name.empty() ? "Unknown Device" : device.name,
          .dot = device.isConnected ? Colour::green : Colour::gray,
          .isSelected = isSelected,
          .mark = isSelected ? Symbol("checkmark.circle.fill") : Symbol("circle"),
          .markColour = isSelected ? Colour::blue : Colour::secondary};
}

void sortRows(std::vector<PairedDeviceRow>& rows, const NameOrder& order) {
  std::sort(rows.begin(), rows.end(), [&order](const PairedDeviceRow& one, const PairedDeviceRow& other) {
    if (one.isSelected != other.isSelected) return one.isSelected;
    if (order(one.name, other.name)) return true;
    if (order(other.name, one.name)) return false;
    return one.id < other.id;  // Devices of one name keep their places from scan to scan.
  });
}

}  // namespace

PairedDevicesPresentation presentPairedDevices(const PairedDevicesState& state, const NameOrder& order) {
  PairedDevicesPresentation shown;
  if (state.isLoading) {
    shown.scanning = scanningText;
  } else if (state.paired.empty()) {
    shown.nothingFound = nothingFoundText;
    shown.nothingFoundHint = nothingFoundHintText;
  }
  for (const auto& device : state.paired)
    shown.rows.push_back(rowOf(device, state.selectedAddresses.contains(device.id)));
  sortRows(shown.rows, order);
  return shown;
}

std::vector<PairedDevicePayload> pairedFromManaged(std::span<const BluetoothPeripheral> managed) {
  std::vector<PairedDevicePayload> paired;
  for (const auto& device : managed) paired.push_back({device.id, device.name, device.isConnected});
  return paired;
}

std::set<std::string> toggled(std::set<std::string> selectedAddresses, const std::string& address) {
  if (selectedAddresses.erase(address) == 0) selectedAddresses.insert(address);
  return selectedAddresses;
}

}  // namespace zolvex
