#pragma once

#include "bluetooth/BluetoothPeripheral.h"
#include "ownership/DeviceOwnershipState.h"
#include "ui/Colour.h"
#include "ui/Symbol.h"

#include <span>
#include <string>
#include <string_view>

namespace zolvex {

/// The popover's header: who holds the devices, and what is going on.
struct HeaderPresentation {
  std::string_view title;
  std::string subtitle;
  bool showsSpinner;  ///< In the place of the symbol.
  Symbol symbol;
  Colour colour;  ///< Of the symbol.
  bool showsCancel;
  std::string_view cancel = "Cancel";

  bool operator==(const HeaderPresentation&) const = default;
};

struct HeaderState {
  DeviceOwnershipState ownershipState = DeviceOwnershipState::unknown;
  bool isSwitching = false;
  std::string_view statusMessage = {};                ///< DeviceManager::lastResult
  std::span<const BluetoothPeripheral> devices = {};  ///< The managed ones.
};

HeaderPresentation presentHeader(const HeaderState& state);

/// What is being connected: a single device by its name.
std::string connectingLine(std::span<const BluetoothPeripheral> devices);

}  // namespace zolvex
