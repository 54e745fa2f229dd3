#pragma once

#include "core/Time.h"
#include "peer/NetworkDevice.h"
#include "ui/Colour.h"
#include "ui/SettingsSection.h"
#include "ui/Symbol.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zolvex {

/// The row that opens and closes a section.
struct SectionHeader {
  SettingsSection section;
  Symbol symbol;
  std::string_view title;
  std::string summary;
  Symbol chevron;

  bool operator==(const SectionHeader&) const = default;
};

struct SettingsState {
  std::size_t selectedCount = 0;        ///< Devices that are ticked.
  const NetworkDevice* peer = nullptr;  ///< The registered one, if any.
  std::size_t discoveredCount = 0;      ///< Peers that are seen.
  bool autoConnect = true;
  std::optional<SettingsSection> expanded = std::nullopt;
};

/// In their order from top to bottom.
std::array<SectionHeader, 3> presentSections(const SettingsState& state, Date now);

std::string selectionCount(std::size_t count);

/// What surrounds the sections.
struct SettingsFrame {
  Symbol backSymbol = "chevron.left";
  std::string_view title = "Settings";
  std::string_view save = "Save";
  std::string_view uninstall = "Uninstall";
  Colour uninstallTint = Colour::red;
};

}  // namespace zolvex
