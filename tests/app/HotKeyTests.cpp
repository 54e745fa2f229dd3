#include "ZolvexProcess.h"
#include "platform/hotkey/FakePortal.h"
#include "platform/linux/hotkey/X11Keyboard.h"
#include "platform/session/XvfbServer.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// The real program, and somebody who presses keys.
struct HotKeyProcessTest : testing::Test {
  void SetUp() override {
    for (const auto& program : {u"Xvfb"_s, u"xdotool"_s})
      if (QStandardPaths::findExecutable(program).isEmpty()) GTEST_SKIP() << program.toStdString() << " is not there";
    ASSERT_TRUE(server.start());
    computer.display = QString::fromStdString(server.display());
    ASSERT_TRUE(computer.sessionBus.start());
  }
  ProgramRun& zolvex() { return *computer.zolvex; }
  void press() {
    ProgramRun xdotool(u"xdotool"_s, {u"key"_s, u"ctrl+alt+d"_s}, computer.variables());
    ASSERT_EQ(xdotool.exitStatus(), 0) << xdotool.errors();
  }
  int changeSetting(const QString& name, const QString& value) {
    return computer.control({u"settings"_s, name, value}).exitStatus();
  }
  /// Nothing else makes it switch.
  void writeSettings(const QByteArray& isEnabled) const {
    computer.writeSettings(R"({"managedDeviceAddresses": ["A1"], "autoConnect": false, "globalHotkeyEnabled": )" +
                           isEnabled + "}");
  }
  [[nodiscard]] bool switches() { return zolvex().complains("DeviceManager: Connect: starting"); }

  XvfbServer server;
  ZolvexProcess computer;
};

TEST_F(HotKeyProcessTest, aPressTakesTheDevices) {
  writeSettings("true");
  ASSERT_TRUE(computer.startOnBus());
  ASSERT_TRUE(zolvex().complains("Global hotkey registered"));
  press();
  EXPECT_TRUE(switches());
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(HotKeyProcessTest, isOffWhileItIsSwitchedOffAndOnWhenItIsSwitchedOn) {
  writeSettings("false");
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_EQ(zolvex().errors().find("Global hotkey"), std::string::npos);
  EXPECT_EQ(changeSetting(u"globalHotkeyEnabled"_s, u"on"_s), 0);
  ASSERT_TRUE(zolvex().complains("Global hotkey registered"));
  press();
  EXPECT_TRUE(switches());
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(HotKeyProcessTest, aKeyThatAnotherProgramHoldsIsLoggedAndTriedAgainWithTheNextChange) {
  const auto holder = X11Keyboard::open(server.display());
  ASSERT_TRUE(holder);
  const std::uint8_t keyD = 40;
  holder->grab({{keyD, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1}});
  ASSERT_TRUE(runUntil([&] { return holder->take().grabOutcome == 0; }));
  ASSERT_TRUE(computer.startOnBus());
  ASSERT_TRUE(zolvex().complains("error HotKey: Global hotkey registration failed: 10"));
  holder->grab({});
  ASSERT_TRUE(runUntil([&] { return holder->take().grabOutcome == 0; }));
  EXPECT_EQ(changeSetting(u"autoRelease"_s, u"off"_s), 0);
  EXPECT_TRUE(zolvex().complains("Global hotkey registered"));
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(HotKeyProcessTest, onWaylandItIsAskedOfThePortal) {
  FakePortal portal(computer.sessionBus.address(), {});
  computer.isWayland = true;
  writeSettings("true");
  ASSERT_TRUE(computer.startOnBus());
  ASSERT_TRUE(zolvex().complains("Global hotkey registered"));
  portal.activate(u"ZLVX-1"_s);
  EXPECT_TRUE(switches());
  EXPECT_EQ(computer.end(), 0);
}

TEST_F(HotKeyProcessTest, withoutADisplayThereIsNone) {
  computer.display.clear();
  ASSERT_TRUE(computer.startOnBus());
  EXPECT_TRUE(zolvex().complains("no display, so no hot key"));
  EXPECT_EQ(computer.end(), 0);
}

}  // namespace
}  // namespace zolvex::test
