#include "control/ControlSettings.h"

#include "control/ControlText.h"
#include "control/UnsavedChange.h"
#include "core/SettingsKeys.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace zolvex::control {

namespace {

constexpr std::array switches{settings::autoConnect, settings::autoRelease, settings::globalHotkeyEnabled};

// Hours after which the devices are released; -1 stands for "when locked".
constexpr std::array hoursOffered{1.0 / 60, 5.0 / 60, 1.0, 8.0, -1.0};
constexpr double hoursTolerance = 0.0005;  // 1/60 written with three decimals

// No key of the settings file: whether Zolvex starts at login is what the session says.
constexpr std::string_view launchAtLogin = "launchAtLogin";

struct InternalTable {
  std::string_view key;
  std::string_view hint;
};
constexpr std::array internalTables{
    InternalTable{settings::managedDeviceAddresses, "Choose the devices with: zolvexctl manage ADDRESS..."},
    InternalTable{settings::deviceNames, "Names are saved by: zolvexctl manage ADDRESS..."},
    InternalTable{settings::networkDevices, "Choose the peer with: zolvexctl add-peer ID"},
    InternalTable{settings::peerIdentityID, "It is this computer's identity towards its peer."},
    InternalTable{settings::didConfigureLaunchAtLoginDefault, "Use: zolvexctl settings launchAtLogin on|off"},
};

bool isNumber(const QVariant& value) {
  const auto type = value.typeId();
  return type == QMetaType::Double || type == QMetaType::Int || type == QMetaType::UInt ||
         type == QMetaType::LongLong || type == QMetaType::ULongLong;
}

Refusal invalid(std::string text) {
  return ControlError{error::invalidValue, std::move(text)};
}

}  // namespace

QVariantMap ControlSettings::all() const {
  QVariantMap values;
  for (const auto key : switches) values.insert(qString(key), defaults_.boolean(key).value_or(false));
  values.insert(qString(settings::autoReleaseHours), defaults_.number(settings::autoReleaseHours).value_or(-1.0));
  values.insert(qString(settings::transportMode), QString::fromStdString(networkStore_.transportMode()));
  values.insert(qString(launchAtLogin), launchAtLogin_.status().isEnabled);
  return values;
}

Refusal ControlSettings::set(const std::string& key, const QVariant& value) {
  if (auto refusal = change(key, value)) return refusal;
  return unsavedChange(defaults_);
}

Refusal ControlSettings::change(const std::string& key, const QVariant& value) {
  if (std::find(switches.begin(), switches.end(), key) != switches.end()) return setSwitch(key, value);
  if (key == settings::autoReleaseHours) return setHours(key, value);
  if (key == settings::transportMode) return setTransport(value);
  if (key == launchAtLogin) return setLaunch(value);
  for (const auto& table : internalTables)
    if (key == table.key)
      return ControlError{error::unknownSetting, key + " is not set directly. " + std::string(table.hint)};
  return ControlError{error::unknownSetting, "There is no setting of that name."};
}

Refusal ControlSettings::setSwitch(const std::string& key, const QVariant& value) {
  if (value.typeId() != QMetaType::Bool) return invalid(key + " takes true or false.");
  defaults_.set(key, value.toBool());
  return std::nullopt;
}

Refusal ControlSettings::setHours(const std::string& key, const QVariant& value) {
  const auto hours = value.toDouble();
  const auto isMeant = [hours](double offered) { return std::abs(offered - hours) <= hoursTolerance; };
  const auto* const offered = std::find_if(hoursOffered.begin(), hoursOffered.end(), isMeant);
  if (!isNumber(value) || offered == hoursOffered.end())
    return invalid(key + " takes 1/60 (1 min), 5/60 (5 min), 1 (1 hour), 8 (8 hours) or -1 (when locked).");
  defaults_.set(key, *offered);
  return std::nullopt;
}

Refusal ControlSettings::setTransport(const QVariant& value) {
  const auto mode = value.toString().toStdString();
  if (value.typeId() != QMetaType::QString ||
      (mode != settings::transportBluetooth && mode != settings::transportBonjour))
    return invalid("The transport is either bluetooth or bonjour.");
  networkStore_.setTransportMode(mode);
  return std::nullopt;
}

Refusal ControlSettings::setLaunch(const QVariant& value) {
  if (value.typeId() != QMetaType::Bool) return invalid(std::string(launchAtLogin) + " takes true or false.");
  if (auto failure = setLaunchAtLogin(value.toBool(), launchAtLogin_, defaults_))
    return ControlError{error::failed, "Launch at login cannot be changed: " + *failure};
  return std::nullopt;
}

}  // namespace zolvex::control
