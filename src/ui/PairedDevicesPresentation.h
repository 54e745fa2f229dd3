#pragma once

#include "bluetooth/BluetoothPeripheral.h"
#include "bluetooth/PairedDevicePayload.h"
#include "ui/Colour.h"
#include "ui/NameOrder.h"
#include "ui/Symbol.h"

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zolvex {

/// A paired device that can be chosen.
struct PairedDeviceRow {
  std::string id;
  Symbol symbol;
  std::string name;
  Colour dot;
  bool isSelected;
  Symbol mark;
  Colour markColour;

  bool operator==(const PairedDeviceRow&) const = default;
};

/// The content of the settings' devices section. An empty text is not shown.
struct PairedDevicesPresentation {
  std::string_view scanning;
  std::string_view nothingFound;
  std::string_view nothingFoundHint;
  std::vector<PairedDeviceRow> rows;  ///< Selected ones first, by name within both groups.

  bool operator==(const PairedDevicesPresentation&) const = default;
};

struct PairedDevicesState {
  std::span<const PairedDevicePayload> paired;  ///< What the last scan found, or what is known until it ends.
  const std::set<std::string>& selectedAddresses;
  bool isLoading = false;
};

PairedDevicesPresentation presentPairedDevices(const PairedDevicesState& state, const NameOrder& order = naturalOrder);

/// The managed devices in the form of a scan's result: what can be shown before the scan has ended.
std::vector<PairedDevicePayload> pairedFromManaged(std::span<const BluetoothPeripheral> managed);

/// The selection with `address` added, or taken out when it was in it.
std::set<std::string> toggled(std::set<std::string> selectedAddresses, const std::string& address);

}  // namespace zolvex
