#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// What Zolvex leaves in a home directory besides its settings: folders of its own, and folders of others that it had
/// to make.
struct HomeTraces {
  std::vector<std::filesystem::path> own;     ///< Removed with all that is in them; of what a link leads to, our files.
  std::vector<std::filesystem::path> shared;  ///< Removed when they are empty, in this order.

  /// Those of this process's environment.
  static HomeTraces standard();

  /// Goes on after a failure; why something is still there, for people, when it is.
  std::optional<std::string> remove() const;
};

}  // namespace zolvex
