#include "ui/HeaderPresentation.h"

namespace zolvex {

namespace {

enum class Subtitle {
  ofState,   ///< The text of the row.
  activity,  ///< What is being connected.
  message,   ///< The status message; the text of the row when there is none.
};

struct Row {
  std::string_view title;
  Symbol symbol;
  Colour colour;
  Subtitle kind;
  std::string_view subtitle;
};

// clang-format off
Row rowOf(DeviceOwnershipState state) {
  using enum DeviceOwnershipState;
  using enum Colour;
  using enum Subtitle;
  switch (state) {
    case unknown:
      return {"Set up your devices", "questionmark.circle", secondary, ofState, "Choose the Magic devices to manage."};
    case thisMac:
      return {"This Mac has zolvex", "hand.pinch.fill", green, ofState, "Managed devices are available here."};
    case partiallyThisMac:
      return {"Partly on this Mac", "circle.lefthalf.filled", orange, ofState, "Some devices are here, some are not."};
    case otherMac:
      return {"Other Mac has zolvex", "desktopcomputer", secondary, ofState, "The other Mac is using the devices."};
    case released:
      return {"Ready to switch", "circle.dotted", secondary, ofState, "Devices are free to connect."};
    case switchingToThisMac:
      return {"Taking zolvex", "arrow.triangle.2.circlepath", orange, activity, ""};
    case releasing:
      return {"Letting go", "arrow.right.circle", orange, message, "Releasing..."};
    case failed:
    case connecting:
      break;
  }
  return {"Needs a nudge", "exclamationmark.triangle.fill", red, message, "Try switching again."};
}
// clang-format on

std::string subtitleOf(const Row& row, const HeaderState& state) {
  if (row.kind == Subtitle::activity) return connectingLine(state.devices);
  const bool isMessage = row.kind == Subtitle::message && !state.statusMessage.empty();
  return std::string(isMessage ? state.statusMessage : row.subtitle);
}

}  // namespace

HeaderPresentation presentHeader(const HeaderState& state) {
  const auto row = rowOf(state.ownershipState);
  return {.title = row.title,
          .subtitle = subtitleOf(row, state),
          .showsSpinner = state.isSwitching,
          .symbol = row.symbol,
          .colour = row.colour,
          .showsCancel = state.ownershipState == DeviceOwnershipState::switchingToThisMac};
}

std::string connectingLine(std::span<const BluetoothPeripheral> devices) {
  if (devices.size() != 1) return "Connecting devices...";
  return "Connecting " + devices.front().name + "...";
}

}  // namespace zolvex
