#include "ui/qt/UiWorld.h"

#include <algorithm>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

TEST(MainPageTest, showsWhoHasTheDevices) {
  UiWorld ui;
  ui.world.haveConnected(1);
  ui.open();
  EXPECT_EQ(ui.text(u"stateTitle"_s), u"Partly on this Mac"_s);
  EXPECT_EQ(ui.text(u"stateSubtitle"_s), u"Some devices are here, some are not."_s);
  EXPECT_EQ(ui.text(u"peerText"_s), u"Peer waiting, 192.0.2.7"_s);
  EXPECT_EQ(ui.text(u"primary"_s), u"Release"_s);
  EXPECT_FALSE(ui.isVisible(u"secondary"_s));
  EXPECT_FALSE(ui.isVisible(u"cancel"_s));
}

TEST(MainPageTest, followsTheStateWhileItIsOpen) {
  UiWorld ui;
  ui.open();
  EXPECT_EQ(ui.text(u"primary"_s), u"Switch to Me"_s);
  EXPECT_EQ(ui.text(u"secondary"_s), u"Quick Connect"_s);
  ui.world.haveConnected(2);
  ui.world.manager().refreshFromLiveState();
  ui.settle();
  EXPECT_EQ(ui.text(u"stateTitle"_s), u"This Mac has zolvex"_s);
  EXPECT_EQ(ui.text(u"primary"_s), u"Release"_s);
}

TEST(MainPageTest, switchToMeAsksThePeerAndConnects) {
  UiWorld ui({"Desk Keyboard"});
  ui.open();
  ui.click(u"primary"_s);
  EXPECT_EQ(ui.text(u"stateTitle"_s), u"Taking zolvex"_s);
  EXPECT_EQ(ui.text(u"stateSubtitle"_s), u"Connecting Desk Keyboard..."_s);
  EXPECT_EQ(ui.world.peer.sent.back(), DeviceCommand::pleaseRelease);
  ui.world.advance(Seconds(30));
  ui.settle();
  EXPECT_EQ(ui.text(u"stateTitle"_s), u"This Mac has zolvex"_s);
}

TEST(MainPageTest, quickConnectDoesNotAskThePeer) {
  UiWorld ui;
  ui.open();
  ui.click(u"secondary"_s);
  EXPECT_EQ(ui.world.manager().ownershipState(), DeviceOwnershipState::thisMac);
  EXPECT_EQ(std::count(ui.world.peer.sent.begin(), ui.world.peer.sent.end(), DeviceCommand::pleaseRelease), 0);
}

TEST(MainPageTest, cancelAbandonsTheSwitch) {
  UiWorld ui;
  ui.world.peer.answer = std::nullopt;
  ui.open();
  ui.click(u"primary"_s);
  ASSERT_TRUE(ui.isVisible(u"cancel"_s));
  ui.click(u"cancel"_s);
  EXPECT_FALSE(ui.world.manager().isSwitching());
  EXPECT_FALSE(ui.isVisible(u"cancel"_s));
}

TEST(MainPageTest, releaseLetsTheDevicesGo) {
  UiWorld ui;
  ui.world.haveConnected(2);
  ui.open();
  ui.click(u"primary"_s);
  EXPECT_EQ(ui.world.manager().ownershipState(), DeviceOwnershipState::released);
  EXPECT_EQ(ui.text(u"primary"_s), u"Switch to Me"_s);
}

TEST(MainPageTest, returnDoesTheMainAction) {
  UiWorld ui;
  ui.open();
  ui.press(Qt::Key_Return);
  EXPECT_EQ(ui.world.peer.sent.back(), DeviceCommand::pleaseRelease);
}

TEST(MainPageTest, aReturnThatIsHeldDoesTheMainActionOnce) {
  for (const auto& focused : {u"primary"_s, u"devices"_s}) {
    UiWorld ui;
    ui.open();
    ui.item(focused)->forceActiveFocus();
    ui.press(Qt::Key_Return);
    ui.world.advance(Seconds(30));
    ui.settle();
    ASSERT_EQ(ui.text(u"primary"_s), u"Release"_s);
    ui.repeat(Qt::Key_Return);
    ui.repeat(Qt::Key_Enter);
    EXPECT_EQ(ui.world.manager().ownershipState(), DeviceOwnershipState::thisMac);
  }
}

TEST(MainPageTest, quitQuits) {
  UiWorld ui;
  ui.open();
  EXPECT_TRUE(ui.text(u"version"_s).startsWith(u'v'));
  EXPECT_EQ(ui.item(u"version"_s)->property("color"), ui.theme()->property("tertiary"));
  EXPECT_EQ(ui.item(u"quit"_s)->property("tint"), u"red"_s);
  ui.click(u"quit"_s);
  EXPECT_EQ(ui.quits, 1);
}

TEST(MainPageTest, aPeerIsReachableFor45Seconds) {
  UiWorld ui;
  ui.world.peer.answer = std::nullopt;
  auto peer = peerNamed("ab12-cd34-ef", "Studio", ui.world.time.now());
  ui.world.network().registerPeer(peer);
  ui.open();
  const auto expectShown = [&ui](const QString& text, const QString& colour) {
    EXPECT_EQ(ui.text(u"peerText"_s), text);
    EXPECT_EQ(ui.item(u"peerDot"_s)->property("role"), colour);
  };
  expectShown(u"Peer reachable, ID AB12CD"_s, u"green"_s);
  const auto openAgainAfter = [&ui](Seconds time) {
    ui.popover.close();
    ui.world.advance(time);
    ui.open();
  };
  openAgainAfter(Seconds(44.9));
  expectShown(u"Peer reachable, ID AB12CD"_s, u"green"_s);
  openAgainAfter(Seconds(0.1));
  expectShown(u"Peer waiting, ID AB12CD"_s, u"gray"_s);
}

}  // namespace
}  // namespace zolvex::test
