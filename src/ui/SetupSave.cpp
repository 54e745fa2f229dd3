#include "ui/SetupSave.h"

#include "core/SettingsKeys.h"
#include "ui/NameOrder.h"

#include <algorithm>

namespace zolvex {

namespace {

/// The table with the names of the selected paired devices added.
StringDictionary withNames(StringDictionary names, const std::set<std::string>& selected,
                           std::span<const PairedDevicePayload> paired) {
  for (const auto& device : paired)
    if (selected.contains(device.id)) names[device.id] = device.name;
  return names;
}

StringArray byName(const std::set<std::string>& selected, const StringDictionary& names) {
  StringArray addresses(selected.begin(), selected.end());
  const auto nameOf = [&names](const std::string& address) {
    const auto found = names.find(address);
    return found == names.end() ? address : found->second;
  };
  std::stable_sort(addresses.begin(), addresses.end(), [&nameOf](const std::string& one, const std::string& other) {
    return naturalOrder(nameOf(one), nameOf(other));
  });
  return addresses;
}

}  // namespace

void saveManagedDevices(const std::set<std::string>& selectedAddresses, std::span<const PairedDevicePayload> paired,
                        UserDefaults& defaults, BluetoothPeripheralStore& store) {
  const auto names = withNames(store.loadDeviceNames(), selectedAddresses, paired);
  defaults.set(settings::deviceNames, names);
  defaults.set(settings::managedDeviceAddresses, byName(selectedAddresses, names));
  store.reload();
}

}  // namespace zolvex
