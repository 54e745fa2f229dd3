#pragma once

#include "ui/UserInterfacePlugin.h"

#include <memory>

namespace zolvex {

/// Loads the windows, a plugin that lies beside the application's module, where this process has been given a display.
/// Null when there is none, when the plugin cannot be loaded or when the session bus is silent: the log says so once,
/// and the application goes on without windows.
std::unique_ptr<UserInterfacePlugin> loadUserInterface();

}  // namespace zolvex
