#include "ui/PopoverPresentation.h"

namespace zolvex {

namespace {

std::string known(std::string_view text) {
  return text.empty() ? "?" : std::string(text);
}

}  // namespace

PopoverPage popoverPage(bool showSettings, bool showAbout) {
  if (showSettings) return PopoverPage::settings;
  return showAbout ? PopoverPage::about : PopoverPage::main;
}

std::string presentVersion(std::string_view shortVersion, std::string_view buildNumber) {
  return "v" + known(shortVersion) + " (" + known(buildNumber) + ")";
}

}  // namespace zolvex
