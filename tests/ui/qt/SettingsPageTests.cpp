#include "core/SettingsKeys.h"
#include "ui/qt/UiWorld.h"

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

struct SettingsPageTest : testing::Test {
  void openWith(const std::vector<std::string>& devices, bool hasPeer) {
    ui.emplace(devices, hasPeer);
    ui->open();
    ui->click(u"settings"_s);
  }
  void answerScan(const std::vector<PairedDevicePayload>& devices) {
    ui->scanAnswer(devices);
    finishMotion();
  }
  void finishMotion() {
    ui->settle();
    int height = -1;
    int calmTurns = 0;
    ASSERT_TRUE(runUntil([&] {
      const bool isStill = std::exchange(height, ui->window().height()) == ui->window().height();
      calmTurns = isStill ? calmTurns + 1 : 0;
      return calmTurns > 10;
    }));
  }
  void click(const QString& name) {
    ui->click(name);
    finishMotion();
  }

  std::optional<UiWorld> ui;
};

TEST_F(SettingsPageTest, aNewcomerIsLedToAWorkingSetup) {
  openWith({}, false);
  EXPECT_EQ(ui->text(u"scanning"_s), u"Scanning paired devices..."_s);
  answerScan({{"A1", "Magic Keyboard", true}, {"B2", "Magic Mouse", false}});
  EXPECT_EQ(ui->text(u"hint"_s), u"Select at least one device to finish setup."_s);
  click(u"device B2"_s);
  EXPECT_EQ(ui->text(u"hint"_s), u"Add your peer Mac to finish setup."_s);

  click(u"save"_s);
  EXPECT_EQ(ui->text(u"searching"_s), u"Searching for peer..."_s);
  ui->world.peer.discover(peerNamed("ABC123", "ABC123", ui->world.time.now()));
  finishMotion();
  EXPECT_TRUE(ui->item(u"peer ABC123Button"_s)->property("isProminent").toBool());
  EXPECT_EQ(ui->item(u"peer ABC123Button"_s)->property("tint"), u"accent"_s);
  click(u"peer ABC123Button"_s);
  EXPECT_FALSE(ui->isVisible(u"hint"_s));
  click(u"save"_s);
  EXPECT_EQ(ui->model.page(), PopoverModel::Page::Main);
  EXPECT_EQ(ui->world.defaults.stringArray(settings::managedDeviceAddresses), StringArray{"B2"});
  EXPECT_EQ(ui->world.defaults.stringDictionary(settings::deviceNames), (StringDictionary{{"B2", "Magic Mouse"}}));
  ASSERT_EQ(ui->world.store().peripherals().size(), 1U);
}

TEST_F(SettingsPageTest, saveWithoutAPeerOpensThePeerSection) {
  openWith({"Magic Keyboard"}, false);
  answerScan({{"A1", "Magic Keyboard", true}});
  click(u"save"_s);
  EXPECT_EQ(ui->model.page(), PopoverModel::Page::Settings);
  EXPECT_TRUE(ui->model.settings()->peerHeader().isExpanded);
}

TEST_F(SettingsPageTest, atMostOneSectionIsOpen) {
  openWith({}, true);
  EXPECT_TRUE(ui->model.settings()->devicesHeader().isExpanded);
  click(u"preferencesHeader"_s);
  EXPECT_TRUE(ui->model.settings()->preferencesHeader().isExpanded);
  EXPECT_FALSE(ui->model.settings()->devicesHeader().isExpanded);
  click(u"preferencesHeader"_s);
  EXPECT_FALSE(ui->model.settings()->preferencesHeader().isExpanded);
}

TEST_F(SettingsPageTest, openingTheDevicesScansAgain) {
  openWith({"Magic Keyboard"}, true);
  EXPECT_EQ(ui->scans, 1);
  click(u"devicesHeader"_s);
  EXPECT_EQ(ui->scans, 2);
  EXPECT_TRUE(ui->isVisible(u"device A1"_s));  // known before the scan has ended
  answerScan({});
  EXPECT_EQ(ui->text(u"nothingFound"_s), u"No paired Bluetooth devices found"_s);
}

TEST_F(SettingsPageTest, comingBackToItShowsWhatHasChangedElsewhere) {
  openWith({}, true);
  answerScan({});
  click(u"devicesHeader"_s);
  ui->popover.close();
  ui->launchAtLogin.isEnabled = true;
  ui->open();
  EXPECT_EQ(ui->scans, 2);
  EXPECT_TRUE(ui->model.settings()->devicesHeader().isExpanded);
  EXPECT_TRUE(ui->model.settings()->preferences()->launchAtLogin().isOn);
  answerScan({{"A1", "Magic Keyboard", true}});
  EXPECT_TRUE(ui->isVisible(u"device A1"_s));
}

TEST_F(SettingsPageTest, comingBackToItKeepsWhatIsTickedButNotSaved) {
  openWith({}, true);
  answerScan({{"A1", "Magic Keyboard", true}});
  click(u"device A1"_s);
  ui->popover.close();
  ui->open();
  EXPECT_EQ(ui->model.settings()->devicesHeader().summary, u"1 device selected"_s);
  ui->press(Qt::Key_Escape);
  ui->click(u"settings"_s);
  EXPECT_EQ(ui->model.settings()->devicesHeader().summary, u"No devices selected"_s) << "opened anew";
}

TEST_F(SettingsPageTest, scansOnceWhenThePopoverOpensWithIt) {
  ui.emplace();
  ui->model.showSettings();
  EXPECT_EQ(ui->scans, 0);
  ui->open();
  EXPECT_EQ(ui->scans, 1);
  EXPECT_EQ(ui->model.settings()->devicesHeader().summary, u"2 devices selected"_s);
}

TEST_F(SettingsPageTest, preferencesAreInEffectAtOnce) {
  openWith({"Magic Keyboard"}, true);
  click(u"preferencesHeader"_s);
  click(u"Launch at login"_s);
  EXPECT_TRUE(ui->launchAtLogin.isEnabled);
  click(u"Auto release"_s);
  EXPECT_EQ(ui->world.defaults.boolean(settings::autoRelease), false);
  click(u"Auto-switch"_s);
  EXPECT_EQ(ui->world.defaults.boolean(settings::autoConnect), true);
  click(u"Global hotkey"_s);
  EXPECT_EQ(ui->world.defaults.boolean(settings::globalHotkeyEnabled), false);
}

TEST_F(SettingsPageTest, theHotKeysTooltipFollowsALateAnswer) {
  openWith({"Magic Keyboard"}, true);
  ui->hotKeys.answersLate = true;
  ui->hotKeys.outcome = {.status = 1, .isHeldByAnother = true};
  ui->world.defaults.set(settings::globalHotkeyEnabled, false);
  ui->hotKey.start();
  click(u"preferencesHeader"_s);
  click(u"Global hotkey"_s);
  const auto tooltip = [this] { return ui->model.settings()->preferences()->globalHotkey().tooltip; };
  EXPECT_EQ(tooltip(), u"Waiting for the desktop to allow this shortcut."_s);
  ui->world.log.expectError("Global hotkey registration failed: 1");
  ui->hotKeys.answer();
  ui->settle();
  EXPECT_EQ(tooltip(), u"Another program uses this shortcut."_s);
}

TEST_F(SettingsPageTest, aFailingLaunchAtLoginShowsWhatIsTrue) {
  openWith({"Magic Keyboard"}, true);
  ui->world.log.expectError("Launch at login error: no");
  ui->launchAtLogin.failure = "no";
  click(u"preferencesHeader"_s);
  click(u"Launch at login"_s);
  EXPECT_FALSE(ui->item(u"Launch at login"_s)->property("checked").toBool());
}

TEST_F(SettingsPageTest, pickersChooseByKeyboard) {
  openWith({"Magic Keyboard"}, true);
  click(u"preferencesHeader"_s);
  ui->item(u"releaseTime"_s)->forceActiveFocus();
  ui->press(Qt::Key_Up);
  EXPECT_EQ(ui->world.defaults.number(settings::autoReleaseHours), 8.0);
  ui->item(u"connection"_s)->forceActiveFocus();
  ui->press(Qt::Key_Down);
  EXPECT_EQ(ui->world.network().transportMode(), "bluetooth");
}

TEST_F(SettingsPageTest, theReleaseTimeCanBeChosenWhileAutoReleaseIsOff) {
  openWith({"Magic Keyboard"}, true);
  ui->world.defaults.set(settings::autoRelease, false);
  click(u"preferencesHeader"_s);
  ASSERT_TRUE(ui->item(u"releaseTime"_s)->isEnabled());
  ui->item(u"releaseTime"_s)->forceActiveFocus();
  ui->press(Qt::Key_Up);
  EXPECT_EQ(ui->world.defaults.number(settings::autoReleaseHours), 8.0);
}

TEST_F(SettingsPageTest, removingThePeerIsAskedFor) {
  openWith({"Magic Keyboard"}, true);
  click(u"peerHeader"_s);
  EXPECT_FALSE(ui->item(u"registeredButton"_s)->property("isProminent").toBool());
  EXPECT_EQ(ui->item(u"registeredButton"_s)->property("tint"), u"red"_s);
  click(u"registeredButton"_s);
  ui->press(Qt::Key_Escape);
  EXPECT_NE(ui->world.network().registeredPeer(), nullptr);
  click(u"registeredButton"_s);
  click(u"confirmAlert"_s);
  EXPECT_EQ(ui->world.network().registeredPeer(), nullptr);
  EXPECT_EQ(ui->text(u"hint"_s), u"Add your peer Mac to finish setup."_s);
}

TEST_F(SettingsPageTest, uninstallingIsAskedForAndNoIsTheDefault) {
  openWith({"Magic Keyboard"}, true);
  EXPECT_EQ(ui->item(u"uninstall"_s)->property("tint"), u"red"_s);
  click(u"uninstall"_s);
  ui->press(Qt::Key_Return);
  EXPECT_EQ(ui->uninstalls, 0);
  click(u"uninstall"_s);
  click(u"confirmAlert"_s);
  EXPECT_EQ(ui->uninstalls, 1);
}

}  // namespace
}  // namespace zolvex::test
