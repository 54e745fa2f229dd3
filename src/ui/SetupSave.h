#pragma once

#include "bluetooth/BluetoothPeripheralStore.h"
#include "bluetooth/PairedDevicePayload.h"
#include "core/UserDefaults.h"

#include <set>
#include <span>
#include <string>

namespace zolvex {

/// Stores the choice of managed devices: the names of those that are paired, then the addresses in the order of their
/// names; then the store loads them. Whoever calls this tells the device manager.
void saveManagedDevices(const std::set<std::string>& selectedAddresses, std::span<const PairedDevicePayload> paired,
                        UserDefaults& defaults, BluetoothPeripheralStore& store);

}  // namespace zolvex
