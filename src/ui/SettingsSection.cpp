#include "ui/SettingsSection.h"

namespace zolvex {

std::optional<SettingsSection> sectionAtOpening(std::optional<SettingsSection> expanded, bool hasManagedDevices) {
  if (!expanded && !hasManagedDevices) return SettingsSection::devices;
  return expanded;
}

SectionClick clickSection(std::optional<SettingsSection> expanded, SettingsSection clicked) {
  if (expanded == clicked) return {std::nullopt, false};
  return {clicked, clicked == SettingsSection::devices};
}

}  // namespace zolvex
