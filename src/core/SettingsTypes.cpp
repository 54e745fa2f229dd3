#include "core/SettingsTypes.h"

#include "core/SettingsKeys.h"

#include <map>

namespace zolvex {

bool hasItsType(std::string_view key, const DefaultsValue& value) {
  static const std::map<std::string_view, DefaultsValue> examples{
      {settings::autoRelease, false},
      {settings::autoReleaseHours, 0.0},
      {settings::autoConnect, false},
      {settings::transportMode, std::string()},
      {settings::globalHotkeyEnabled, false},
      {settings::managedDeviceAddresses, StringArray()},
      {settings::deviceNames, StringDictionary()},
      {settings::networkDevices, std::string()},
      {settings::peerIdentityID, std::string()},
  };
  const auto found = examples.find(key);
  return found == examples.end() || found->second.index() == value.index();
}

}  // namespace zolvex
