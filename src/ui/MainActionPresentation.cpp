#include "ui/MainActionPresentation.h"

namespace zolvex {

namespace {

using enum DeviceAction;

constexpr ActionButton switchToMe{"Switch to Me", "hand.draw.fill", Colour::accent, connectToThisMac};
constexpr ActionButton quickConnect{"Quick Connect", "bolt.fill", Colour::primary, forceConnect};
constexpr ActionButton release{"Release", "arrow.right.circle", Colour::orange, releaseDevices};

}  // namespace

MainActionPresentation presentMainAction(bool anyConnected) {
  if (anyConnected) return {release, std::nullopt};
  return {switchToMe, quickConnect};
}

}  // namespace zolvex
