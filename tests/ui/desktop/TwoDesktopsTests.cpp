#include "ui/desktop/TwoDesktops.h"

#include <array>
#include <utility>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

/// How late the icon may be: as long as it takes to ask once more, and to draw.
constexpr auto iconLimit = 3'000ms + 300ms;

/// Two people who have just installed it.
struct NewcomersTest : TwoDesktops {
  void SetUp() override {
    TwoDesktops::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    ASSERT_NO_FATAL_FAILURE(forgetSettings());
    world.giveDevicesTo(u"Laptop"_s);
    ASSERT_TRUE(world.startZolvex()) << world.errorString().toStdString();
  }

  /// The default transport is one that the lab has not.
  static void choosesBonjour(Seat& seat) {
    ASSERT_TRUE(seat.click(u"Preferences"_s));
    ASSERT_TRUE(seat.click(u"Connection"_s));
    ASSERT_TRUE(seat.click(u"Bonjour"_s));
  }
  static void addsPeer(Seat& seat) {
    ASSERT_TRUE(seat.click(u"Peer Mac"_s));
    ASSERT_TRUE(seat.click(u"Add"_s));
    ASSERT_TRUE(seat.sees(u"Remove"_s));
  }
  static void choosesDevices(Seat& seat) {
    ASSERT_TRUE(seat.click(u"Devices"_s));
    const std::array steps{std::pair(u"Magic Keyboard"_s, u"1 device selected"_s),
                           std::pair(u"Magic Trackpad"_s, u"2 devices selected"_s),
                           std::pair(u"Magic Mouse"_s, u"3 devices selected"_s)};
    for (const auto& [device, count] : steps) {
      ASSERT_TRUE(seat.click(device));
      ASSERT_TRUE(seat.sees(count));  // and those that are selected have moved to the top
    }
  }
};

TEST_F(NewcomersTest, setBothComputersUpByClicksAloneAndSwitch) {
  for (auto* seat : {&laptop, &studio}) {
    EXPECT_TRUE(seat->screen.isShown()) << "a first start leads the way";
    EXPECT_TRUE(seat->sees(u"Select at least one device to finish setup."_s));
    ASSERT_NO_FATAL_FAILURE(choosesBonjour(*seat));
  }
  ASSERT_NO_FATAL_FAILURE(addsPeer(laptop));
  ASSERT_NO_FATAL_FAILURE(choosesDevices(laptop));
  ASSERT_TRUE(laptop.click(u"Save"_s));
  EXPECT_TRUE(laptop.sees(u"Release"_s));
  ASSERT_TRUE(comesToRest());

  world.giveDevicesTo(u"Studio"_s);  // their user pairs them there, as the settings say
  ASSERT_NO_FATAL_FAILURE(addsPeer(studio));
  ASSERT_NO_FATAL_FAILURE(choosesDevices(studio));
  ASSERT_TRUE(studio.click(u"Save"_s));
  EXPECT_TRUE(studio.sees(u"Release"_s));
  ASSERT_TRUE(comesToRest());

  ASSERT_TRUE(laptop.click(u"Switch to Me"_s));
  EXPECT_TRUE(getsAllDevices(laptop));
  EXPECT_TRUE(laptop.sees(u"Release"_s));
  EXPECT_TRUE(studio.sees(u"Other Mac has zolvex"_s));
  EXPECT_TRUE(comesToRest());
}

/// Two people who have had it for long. Laptop has the devices.
struct DayTest : TwoDesktops {
  void SetUp() override {
    TwoDesktops::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    world.giveDevicesTo(u"Laptop"_s);
    ASSERT_TRUE(world.startZolvex()) << world.errorString().toStdString();
    ASSERT_TRUE(world.waitForPeers(patience)) << world.errorString().toStdString();
    for (auto* seat : {&studio, &laptop}) EXPECT_FALSE(seat->screen.isShownNow()) << "nobody has asked for a window";
    laptop.computer.control().forceConnect(true);  // it does not know yet that they are its own
    ASSERT_TRUE(runUntil([&] { return laptop.computer.control().connectedDevices() == 3; }));
    ASSERT_TRUE(comesToRest());
    ASSERT_TRUE(laptop.opensPopover() && laptop.closesPopover() && studio.opensPopover() && studio.closesPopover());
    ASSERT_NO_FATAL_FAILURE(learnsIcons());
  }

  /// What the icon looks like with and without the devices.
  void learnsIcons() {
    away = studio.screen.iconPicture();
    ASSERT_TRUE(runUntil([&] { return (here = laptop.screen.iconPicture()) != away; }, iconLimit));
  }

  /// From the moment at which `seat` has another number of devices until its icon is the wanted one.
  void expectIconFollows(Seat& seat, bool hasDevices) {
    ASSERT_TRUE(runUntil([&] { return (seat.computer.control().connectedDevices() > 0) == hasDevices; }));
    const auto change = Clock::now();
    const auto& wanted = hasDevices ? here : away;
    EXPECT_TRUE(runUntil([&] { return seat.screen.iconPicture() == wanted; }));
    EXPECT_LE(Clock::now() - change, iconLimit);
  }

  void opensSettings(Seat& seat, const QString& section) {
    ASSERT_TRUE(seat.opensPopover());
    ASSERT_TRUE(seat.click(u"Settings"_s));
    ASSERT_TRUE(seat.click(section));
  }

  // The day, in its order.

  void studioTakesTheDevices() {
    ASSERT_TRUE(studio.opensPopover());
    ASSERT_TRUE(studio.click(u"Switch to Me"_s));
    ASSERT_NO_FATAL_FAILURE(expectIconFollows(laptop, false));
    EXPECT_TRUE(getsAllDevices(studio));
    EXPECT_TRUE(studio.sees(u"Release"_s));
    ASSERT_TRUE(comesToRest());
  }

  void clicksElsewhereAndOnTheRightClose() {
    EXPECT_TRUE(studio.closesPopover());
    studio.screen.click(XDesktop::icon, 3);
    EXPECT_TRUE(studio.screen.isShown());
    studio.screen.click(XDesktop::icon, 3);
    EXPECT_TRUE(studio.screen.isHidden());
    studio.screen.click(XDesktop::icon);
    EXPECT_TRUE(studio.screen.isShown());
    studio.screen.click(XDesktop::panel);
    EXPECT_TRUE(studio.screen.isHidden());
  }

  void studioReleases() {
    ASSERT_TRUE(studio.opensPopover());
    ASSERT_TRUE(studio.click(u"Release"_s));
    EXPECT_TRUE(studio.sees(u"Ready to switch"_s));
    for (const auto& device : world.radio().addresses()) EXPECT_EQ(world.radio().holder(device), QString());
    ASSERT_TRUE(comesToRest());
    EXPECT_TRUE(studio.closesPopover());
  }

  void laptopTakesWhatIsFree() {
    ASSERT_TRUE(laptop.opensPopover());
    ASSERT_TRUE(laptop.click(u"Quick Connect"_s));
    ASSERT_NO_FATAL_FAILURE(expectIconFollows(laptop, true));
    EXPECT_TRUE(getsAllDevices(laptop));
    ASSERT_TRUE(comesToRest());
    EXPECT_TRUE(laptop.closesPopover());
  }

  void studioPressesTheHotKey() {
    studio.screen.press(u"ctrl+alt+d"_s);
    EXPECT_TRUE(studio.screen.isShown());
    EXPECT_TRUE(getsAllDevices(studio));
    EXPECT_TRUE(studio.sees(u"Release"_s));
    ASSERT_TRUE(comesToRest());
    EXPECT_TRUE(studio.closesPopover());
  }

  void laptopThinksBetterOfIt() {
    world.radio().inject(*lab::Fault::parse(u"slow@Studio"_s));
    ASSERT_TRUE(laptop.opensPopover());
    ASSERT_TRUE(laptop.click(u"Switch to Me"_s));
    const auto showsThatItSwitches = [&] {
      const auto picture = laptop.screen.iconPicture();
      return picture != here && picture != away;
    };
    EXPECT_TRUE(runUntil(showsThatItSwitches, iconLimit));
    ASSERT_TRUE(laptop.click(u"Cancel"_s));
    EXPECT_TRUE(runUntil([&] { return !laptop.computer.control().isSwitching(); }));
    EXPECT_FALSE(hasAllDevices(laptop));
    world.radio().liftAll();
    ASSERT_TRUE(comesToRest());
    ASSERT_TRUE(laptop.click(u"Switch to Me"_s));
    EXPECT_TRUE(getsAllDevices(laptop));
    ASSERT_TRUE(comesToRest());
    EXPECT_TRUE(laptop.closesPopover());
  }

  void laptopChangesASetting() {
    ASSERT_FALSE(laptop.setting(u"autoConnect"_s).toBool());
    ASSERT_NO_FATAL_FAILURE(opensSettings(laptop, u"Preferences"_s));
    ASSERT_TRUE(laptop.click(u"Auto-switch"_s));
    EXPECT_TRUE(runUntil([&] { return laptop.setting(u"autoConnect"_s).toBool(); }));
    EXPECT_TRUE(laptop.sees(u"Auto-switch on"_s));
    EXPECT_TRUE(laptop.closesPopover());
  }

  void studioRemovesItsPeer() {
    ASSERT_NO_FATAL_FAILURE(opensSettings(studio, u"Peer Mac"_s));
    ASSERT_TRUE(studio.click(u"Remove"_s));
    EXPECT_TRUE(studio.sees(u"You will need to add a peer Mac before saving this setup."_s));
    studio.screen.press(u"Return"_s);  // the harmless answer has the keyboard
    EXPECT_NE(studio.setting(u"networkDevices"_s), u"[]"_s);
    ASSERT_TRUE(studio.click(u"Remove"_s));
    ASSERT_TRUE(studio.sees(u"Remove Peer Mac?"_s));
    studio.screen.press(u"Tab"_s);
    studio.screen.press(u"Return"_s);
    EXPECT_TRUE(studio.sees(u"Add your peer Mac to finish setup."_s));
    EXPECT_TRUE(studio.sees(u"Add"_s));
  }

  void studioUninstalls() {
    ASSERT_FALSE(studio.filesInHome().isEmpty());
    ASSERT_TRUE(studio.click(u"Uninstall"_s));
    ASSERT_TRUE(studio.sees(u"Uninstall Zolvex?"_s));
    studio.screen.press(u"Tab"_s);
    studio.screen.press(u"Return"_s);
    ASSERT_TRUE(runUntil([&] { return !studio.computer.isZolvexRunning(); }));
    EXPECT_EQ(studio.computer.zolvex()->exitStatus(), 0);
    EXPECT_TRUE(studio.filesInHome().isEmpty()) << studio.filesInHome().join(u' ').toStdString();
    EXPECT_TRUE(studio.screen.isHidden());
  }

  QByteArray away;
  QByteArray here;
};

TEST_F(DayTest, everythingThatCanBeDoneWithTheWindows) {
  struct Stage {
    const char* name;
    void (DayTest::*play)();
  };
  for (const auto& stage : {
           Stage{"Studio takes the devices", &DayTest::studioTakesTheDevices},
           Stage{"clicks elsewhere and on the right close", &DayTest::clicksElsewhereAndOnTheRightClose},
           Stage{"Studio releases", &DayTest::studioReleases},
           Stage{"Laptop takes what is free", &DayTest::laptopTakesWhatIsFree},
           Stage{"Studio presses the hot key", &DayTest::studioPressesTheHotKey},
           Stage{"Laptop thinks better of it", &DayTest::laptopThinksBetterOfIt},
           Stage{"Laptop changes a setting", &DayTest::laptopChangesASetting},
           Stage{"Studio removes its peer", &DayTest::studioRemovesItsPeer},
           Stage{"Studio uninstalls", &DayTest::studioUninstalls},
       }) {
    SCOPED_TRACE(stage.name);
    (this->*stage.play)();
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace zolvex::test
