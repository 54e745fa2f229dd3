#pragma once

#include "core/Log.h"
#include "ui/UserInterface.h"

#include <memory>

namespace zolvex {

/// The windows as a plugin that is loaded on demand. It owns the toolkit's application object, and with it the event
/// loop of the main thread, so it is made before and destroyed after everything that lives on that loop.
class UserInterfacePlugin {
 public:
  virtual ~UserInterfacePlugin() = default;

  /// Puts the status item up; once.
  virtual std::unique_ptr<UserInterface> open(const UserInterfaceObjects& objects) = 0;
};

/// The one function that the plugin exports. The plugin has a copy of the rules' code and so a log of its own, which
/// writes to `sink`. Returns null when no display answers; otherwise the plugin, to be deleted by the caller.
using UserInterfacePluginEntry = UserInterfacePlugin*(const LogSink& sink);
inline constexpr const char* userInterfacePluginEntryName = "zolvexCreateUserInterface";

}  // namespace zolvex
