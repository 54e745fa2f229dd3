#pragma once

#include "ui/Colour.h"
#include "ui/Symbol.h"

#include <string>
#include <string_view>

namespace zolvex {

enum class PopoverPage { main, about, settings };

/// The settings win over the About page, and either over the main page.
PopoverPage popoverPage(bool showSettings, bool showAbout);

/// A button that is only a symbol, with what a screen reader says of it.
struct IconButton {
  Symbol symbol;
  std::string_view accessibleName;

  bool operator==(const IconButton&) const = default;
};

/// What frames the main page and never changes.
struct PopoverFrame {
  std::string_view title = "Zolvex";
  IconButton about{"info.circle", "About"};
  IconButton settings{"gear", "Settings"};
  std::string_view hotKeyBadge = "⌃ ⌥ D";
  std::string_view hotKeyTooltip = "Control Option D";
  Colour hotKeyColour = Colour::secondary;
  Colour versionColour = Colour::tertiary;
  std::string_view quit = "Quit";
  Colour quitTint = Colour::red;
};

/// "v0.1.0 (123)". What is not known, and therefore empty, reads as "?".
std::string presentVersion(std::string_view shortVersion, std::string_view buildNumber);

}  // namespace zolvex
