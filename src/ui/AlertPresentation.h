#pragma once

#include <string_view>

namespace zolvex {

/// A question that has to be answered before something is taken away.
struct AlertPresentation {
  std::string_view title;
  std::string_view message;
  std::string_view cancel;   ///< Also what Escape does.
  std::string_view confirm;  ///< Takes away; drawn as a warning.

  bool operator==(const AlertPresentation&) const = default;
};

inline constexpr AlertPresentation removePeerAlert{
    .title = "Remove Peer Mac?",
    .message = "You will need to add a peer Mac before saving this setup.",
    .cancel = "Cancel",
    .confirm = "Remove",
};

inline constexpr AlertPresentation uninstallAlert{
    .title = "Uninstall Zolvex?",
    .message = "This removes the app, launch at login, saved devices, peer settings, and permissions.",
    .cancel = "Cancel",
    .confirm = "Uninstall",
};

}  // namespace zolvex
