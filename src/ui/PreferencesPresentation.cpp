#include "ui/PreferencesPresentation.h"

#include "ui/PopoverPresentation.h"

#include <algorithm>
#include <cmath>

namespace zolvex {

namespace {

constexpr double hoursTolerance = 0.0005;  // 1/60 written by hand with three decimals

template <class Table, class Predicate>
std::optional<std::size_t> indexIn(const Table& table, Predicate isMeant) {
  const auto found = std::find_if(table.begin(), table.end(), isMeant);
  if (found == table.end()) return std::nullopt;
  return static_cast<std::size_t>(found - table.begin());
}

std::optional<std::size_t> indexOfHours(double hours) {
  return indexIn(releaseTimes,
                 [hours](const ReleaseTime& time) { return std::abs(time.hours - hours) <= hoursTolerance; });
}

/// Any text but that of Bluetooth selects Bonjour.
std::optional<std::size_t> indexOfMode(std::string_view mode) {
  const auto effective = mode == settings::transportBluetooth ? mode : settings::transportBonjour;
  return indexIn(connections,
                 [effective](const Connection& connection) { return connection.transportMode == effective; });
}

}  // namespace

PreferencesPresentation presentPreferences(const PreferencesState& state) {
  const auto tooltip = problemOf(state.hotKey);
  return {.launchAtLogin = {"Launch at login", state.isLaunchAtLogin},
          .autoRelease = {"Auto release", state.autoRelease},
          .releaseTime = indexOfHours(state.autoReleaseHours),
          .autoSwitch = {"Auto-switch", state.autoConnect},
          .globalHotkey = {"Global hotkey", state.globalHotkeyEnabled, PopoverFrame{}.hotKeyTooltip, tooltip},
          .connectionTitle = "Connection",
          .connection = indexOfMode(state.transportMode)};
}

}  // namespace zolvex
