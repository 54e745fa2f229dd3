#pragma once

#include "core/SettingsKeys.h"
#include "ui/HotKeyState.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace zolvex {

/// A value of "autoReleaseHours" to choose.
struct ReleaseTime {
  std::string_view text;
  double hours;
};
inline constexpr std::array releaseTimes{
    ReleaseTime{"1 min", 1.0 / 60}, ReleaseTime{"5 min", 5.0 / 60},   ReleaseTime{"1 hour", 1.0},
    ReleaseTime{"8 hours", 8.0},    ReleaseTime{"When locked", -1.0},
};

/// A value of "transportMode" to choose.
struct Connection {
  std::string_view text;
  std::string_view transportMode;
};
inline constexpr std::array connections{
    Connection{"Bonjour", settings::transportBonjour},
    Connection{"Bluetooth", settings::transportBluetooth},
};

struct ToggleRow {
  std::string_view title;
  bool isOn;
  std::string_view hint = "";
  std::string_view tooltip = "";

  bool operator==(const ToggleRow&) const = default;
};

/// The content of the settings' preferences section, from top to bottom. The pickers' values are indices of the tables
/// above; none when the stored value is not in the table.
struct PreferencesPresentation {
  ToggleRow launchAtLogin;
  ToggleRow autoRelease;
  std::optional<std::size_t> releaseTime;  ///< Beside `autoRelease`.
  ToggleRow autoSwitch;
  ToggleRow globalHotkey;
  std::string_view connectionTitle;
  std::optional<std::size_t> connection;

  bool operator==(const PreferencesPresentation&) const = default;
};

/// The settings' values, as they are read from the user defaults.
struct PreferencesState {
  bool isLaunchAtLogin = false;
  bool autoRelease = true;
  double autoReleaseHours = -1.0;
  bool autoConnect = true;
  bool globalHotkeyEnabled = true;
  HotKeyState hotKey = HotKeyState::off;
  std::string_view transportMode = settings::transportBluetooth;
};

PreferencesPresentation presentPreferences(const PreferencesState& state);

}  // namespace zolvex
