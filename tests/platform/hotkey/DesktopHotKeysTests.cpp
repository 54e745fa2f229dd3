#include "platform/hotkey/ControlAltD.h"
#include "platform/hotkey/FakePortal.h"
#include "platform/linux/hotkey/DesktopHotKeys.h"
#include "platform/session/SessionWorld.h"
#include "platform/session/XvfbServer.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

struct DesktopHotKeysTest : SessionWorld {
  /// Asks for the hot key; whether it is given.
  [[nodiscard]] bool registersOn(const DisplayServer& displayServer) {
    hotKeys = hotKeysOf(displayServer, queue, link);
    connectLink();
    bool isGiven = false;
    hotKeys->registerHotKey(controlAltD, [&](const HotKeys::Outcome& outcome) { isGiven = outcome.status == 0; });
    return runUntil([&] { return isGiven; });
  }

  std::unique_ptr<HotKeys> hotKeys;
};

TEST_F(DesktopHotKeysTest, onX11TheServerGivesThem) {
  if (const auto reason = XvfbServer::reasonAgainst(); !reason.empty()) GTEST_SKIP() << reason;
  XvfbServer server;
  ASSERT_TRUE(server.start());
  EXPECT_TRUE(registersOn({DisplayServer::Kind::x11, server.display()}));
}

TEST_F(DesktopHotKeysTest, onWaylandThePortalGivesThem) {
  const FakePortal portal(bus.address(), {});
  EXPECT_TRUE(registersOn({DisplayServer::Kind::wayland, {}}));
}

TEST_F(DesktopHotKeysTest, withoutADisplayNobodyGivesThem) {
  hotKeys = hotKeysOf({}, queue, link);
  hotKeys->registerHotKey(controlAltD, [](const HotKeys::Outcome&) { ADD_FAILURE(); });
  EXPECT_TRUE(log.contains("no display, so no hot key"));
  hotKeys->unregisterHotKey();
}

}  // namespace
}  // namespace zolvex::test
