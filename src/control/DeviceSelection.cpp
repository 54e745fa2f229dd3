#include "control/DeviceSelection.h"

#include "core/SettingsKeys.h"
#include "core/Text.h"

#include <algorithm>

namespace zolvex::control {

namespace {

std::string comparable(std::string_view address) {
  auto result = uppercased(trimmed(address));
  std::replace(result.begin(), result.end(), ':', '-');
  return result;
}

bool contains(const StringArray& list, const std::string& text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

}  // namespace

Refusal DeviceSelection::save(std::span<const std::string> addresses, const Paired& paired) {
  StringArray selected;
  for (const auto& address : addresses) {
    const auto known = knownSpelling(address, paired);
    if (known.empty())
      return ControlError{error::unknownDevice, escapedForLog(address) + " is not paired with this computer."};
    if (!contains(selected, known)) selected.push_back(known);
  }
  saveNames(selected, paired);
  defaults_.set(settings::managedDeviceAddresses, selected);
  store_.reload();
  return std::nullopt;
}

std::string DeviceSelection::knownSpelling(const std::string& address, const Paired& paired) const {
  for (const auto& device : paired)
    if (comparable(device.id) == comparable(address)) return device.id;
  for (const auto& device : store_.peripherals())
    if (comparable(device.id) == comparable(address)) return device.id;
  return "";
}

void DeviceSelection::saveNames(const StringArray& selected, const Paired& paired) {
  for (const auto& device : paired) {
    if (!contains(selected, device.id)) continue;
    auto names = store_.loadDeviceNames();
    names[device.id] = device.name;
    defaults_.set(settings::deviceNames, std::move(names));
  }
}

}  // namespace zolvex::control
