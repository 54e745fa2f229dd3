#pragma once

#include <optional>

namespace zolvex {

/// The sections of the settings; at most one is open.
enum class SettingsSection { devices, peer, preferences };

/// What is open after the page has opened: the devices, when none are managed and nothing is open.
std::optional<SettingsSection> sectionAtOpening(std::optional<SettingsSection> expanded, bool hasManagedDevices);

/// What a click on the header of `clicked` leads to.
struct SectionClick {
  std::optional<SettingsSection> expanded;
  bool refreshesPairedDevices;

  bool operator==(const SectionClick&) const = default;
};
SectionClick clickSection(std::optional<SettingsSection> expanded, SettingsSection clicked);

}  // namespace zolvex
