#pragma once

#include "ui/SettingsSection.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace zolvex {

/// How far the setup is, and what "Save" does with it.
struct SetupPresentation {
  std::string_view hint;                          ///< Empty when nothing is missing.
  std::optional<SettingsSection> needsAttention;  ///< Opened by "Save"; none: it saves and closes the page.

  bool isComplete() const { return !needsAttention; }
  bool operator==(const SetupPresentation&) const = default;
};

/// A setup needs at least one device that is ticked, and a registered peer.
SetupPresentation presentSetup(std::size_t selectedCount, bool hasPeer);

}  // namespace zolvex
