#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// How this program came onto the computer, and so how it goes: an AppImage and an installation in the home directory
/// are the user's to move to the trash; what a package manager or an administrator installed is left to them.
struct Installation {
  enum class Kind { image, ofUser, packaged, unknown };

  /// Where to look.
  struct Places {
    std::optional<std::string> program;  ///< Path of this process's executable.
    std::optional<std::string> started;  ///< What starts it anew; an AppImage, or the same.
    std::filesystem::path home;
    std::filesystem::path root = "/";  ///< Of the system.
  };

  Kind kind = Kind::unknown;
  std::vector<std::filesystem::path> files = {};  ///< To be moved; directories with all that is in them.
  std::filesystem::path prefix = {};              ///< The folder that holds these, of an installation of the user.
  std::string leftToDo = {};                      ///< For the user, where there is nothing to be moved.

  static Installation find(const Places& places);
};

}  // namespace zolvex
