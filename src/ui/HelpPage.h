#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// The page that "Help Center" opens: that of the maker's site, where this program was built for one, or else the copy
/// that is installed with the program.
class HelpPage {
 public:
  /// `site` as in "https://example.org", empty for none; `installed` are the paths at which the copy may be, the first
  /// that is there counts.
  HelpPage(std::string site, std::vector<std::string> installed);

  /// The URL to open; none where the site's does not parse or no copy is there: then nothing is opened.
  std::optional<std::string> address() const;

 private:
  std::optional<std::string> addressOnSite() const;

  const std::string site_;
  const std::vector<std::string> installed_;
};

}  // namespace zolvex
