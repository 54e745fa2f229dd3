#include "app/UserInterfaceModule.h"

#include "platform/linux/BusAddress.h"
#include "platform/linux/BusProbe.h"

#include <cstdlib>
#include <dlfcn.h>

namespace zolvex {

namespace {

constexpr Logger logger("Application");

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value && *value;
}

bool hasDisplay() {
  return isSet("WAYLAND_DISPLAY") || isSet("DISPLAY");
}

/// The plugin's log lines, and those of the rules where the plugin calls them, go wherever the application's own go.
void logHere(const LogRecord& record) {
  const Logger its(record.category);
  switch (record.level) {
    case LogLevel::info:
      return its.info("{}", record.message);
    case LogLevel::error:
      return its.error("{}", record.message);
    case LogLevel::fatal:
      its.fatal(record.message);
  }
}

std::unique_ptr<UserInterfacePlugin> cannotLoad() {
  logger.error("no windows, control Zolvex with zolvexctl: {}", dlerror());
  return nullptr;
}

}  // namespace

std::unique_ptr<UserInterfacePlugin> loadUserInterface() {
  if (!hasDisplay()) return nullptr;
  // With windows Qt connects to it by itself, and would wait for it without a limit.
  if (probeBus(sessionBusAddress()) == BusState::silent) {
    logger.error("no windows, start Zolvex again for them: the session bus does not answer");
    return nullptr;
  }
  void* module = dlopen(ZOLVEX_UI_PLUGIN, RTLD_NOW | RTLD_LOCAL);  // for good
  if (!module) return cannotLoad();
  const auto create = reinterpret_cast<UserInterfacePluginEntry*>(dlsym(module, userInterfacePluginEntryName));
  return create ? std::unique_ptr<UserInterfacePlugin>(create(logHere)) : cannotLoad();
}

}  // namespace zolvex
