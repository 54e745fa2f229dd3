#pragma once

#include <string>

namespace zolvex {

/// What shows the windows of the user's session.
struct DisplayServer {
  enum class Kind { none, x11, wayland };

  Kind kind = Kind::none;
  std::string x11Display;  ///< As in DISPLAY, when the kind is x11.

  /// That of this process's environment. A Wayland session with an X server besides is a Wayland session.
  static DisplayServer ofEnvironment();
};

}  // namespace zolvex
