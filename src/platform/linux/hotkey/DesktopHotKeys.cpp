#include "platform/linux/hotkey/DesktopHotKeys.h"

#include "core/Log.h"
#include "platform/linux/hotkey/PortalHotKeys.h"
#include "platform/linux/hotkey/X11HotKeys.h"

namespace zolvex {

namespace {

constexpr Logger logger("HotKey");

/// Nobody will ever press a key.
class NoHotKeys final : public HotKeys {
  Status installHandler(Handler) override { return noError; }
  void removeHandler() override {}
  void registerHotKey(const HotKey&, Answer) override { logger.info("no display, so no hot key"); }
  void unregisterHotKey() override {}
};

}  // namespace

std::unique_ptr<HotKeys> hotKeysOf(const DisplayServer& displayServer, MainQueue& mainQueue, BusLink& sessionBus) {
  switch (displayServer.kind) {
    case DisplayServer::Kind::x11:
      return std::make_unique<X11HotKeys>(mainQueue, displayServer.x11Display);
    case DisplayServer::Kind::wayland:
      return std::make_unique<PortalHotKeys>(mainQueue, sessionBus);
    case DisplayServer::Kind::none:
      break;
  }
  return std::make_unique<NoHotKeys>();
}

}  // namespace zolvex
