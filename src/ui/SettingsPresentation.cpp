#include "ui/SettingsPresentation.h"

#include "ui/PeerPresentation.h"

namespace zolvex {

std::array<SectionHeader, 3> presentSections(const SettingsState& state, Date now) {
  using enum SettingsSection;
  const auto chevron = [&state](SettingsSection section) {
    return state.expanded == section ? Symbol("chevron.down") : Symbol("chevron.right");
  };
  const auto peerText = peerSummary(state.peer, state.discoveredCount, now);
  const auto* const autoSwitchText = state.autoConnect ? "Auto-switch on" : "Auto-switch off";
  return {{
      {devices, "rectangle.connected.to.line.below", "Devices", selectionCount(state.selectedCount), chevron(devices)},
      {peer, "desktopcomputer", "Peer Mac", peerText, chevron(peer)},
      {preferences, "slider.horizontal.3", "Preferences", autoSwitchText, chevron(preferences)},
  }};
}

std::string selectionCount(std::size_t count) {
  if (count == 0) return "No devices selected";
  if (count == 1) return "1 device selected";
  return std::to_string(count) + " devices selected";
}

}  // namespace zolvex
