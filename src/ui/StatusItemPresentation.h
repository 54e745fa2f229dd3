#pragma once

#include "ui/MainActionPresentation.h"
#include "ui/Symbol.h"

#include <string_view>

namespace zolvex {

/// The icon in the desktop's panel.
struct StatusItemPresentation {
  Symbol symbol;
  std::string_view iconName;  ///< The same, drawn for panels: assets/tray/NAME.svg, by this name in the icon theme.
  std::string_view accessibleName = "Zolvex";

  bool operator==(const StatusItemPresentation&) const = default;
};

/// While switching the one, else with a device here the other, else the third.
StatusItemPresentation presentStatusItem(bool isSwitching, bool anyConnected);

/// The menu for panels that deliver no clicks but show a menu; in this order.
struct StatusItemMenu {
  std::string_view open = "Open Zolvex";
  ActionButton action;  ///< The popover's main action.
  std::string_view quit = "Quit";

  bool operator==(const StatusItemMenu&) const = default;
};

StatusItemMenu presentStatusItemMenu(bool anyConnected);

}  // namespace zolvex
