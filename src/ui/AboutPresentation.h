#pragma once

#include "ui/Colour.h"
#include "ui/Symbol.h"

#include <array>
#include <string_view>

namespace zolvex {

enum class AboutAction { checkForUpdates, openHelp, showAcknowledgements };

struct AboutButton {
  std::string_view text;
  AboutAction action;
  Colour tint = Colour::primary;
  bool isProminent = false;
  bool isEnabled = true;

  bool operator==(const AboutButton&) const = default;
};

/// The About page.
struct AboutPresentation {
  Symbol backSymbol = "chevron.left";
  std::string_view title = "About";
  std::string_view image = "AppIcon";
  std::string_view line = "Zolvex by Quenmar";
  std::array<AboutButton, 5> buttons;  ///< In the order in which they are shown.
};

/// `canCheckForUpdates`: whether a check that the user starts may run now.
AboutPresentation presentAbout(bool canCheckForUpdates);

/// Path of the help page on a help site.
inline constexpr std::string_view helpPath = "/zolvex/help";

/// What "Acknowledgements" opens.
struct AcknowledgementsPresentation {
  std::string_view message = "Acknowledgements";
  std::string_view informativeText = "Zolvex uses Sparkle for app updates.";
  std::string_view done = "Done";
  std::string_view licence;  ///< To read and select, not to edit.
};

AcknowledgementsPresentation presentAcknowledgements();

}  // namespace zolvex
