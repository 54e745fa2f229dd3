#include "app/InstalledHelp.h"

#include <filesystem>
#include <vector>

namespace zolvex {

HelpPage installedHelp(const std::optional<std::string>& executable) {
  std::vector<std::string> places;
  if (executable) places.push_back(std::filesystem::path(*executable).parent_path() / ZOLVEX_HELP_BESIDE_PROGRAM);
  places.emplace_back(ZOLVEX_HELP_INSTALLED);
  return {ZOLVEX_HELP_SITE, places};
}

}  // namespace zolvex
