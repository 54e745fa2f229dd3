#include "ui/PreferencesPresentation.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

std::string_view releaseTimeShown(double hours) {
  const auto index = presentPreferences({.autoReleaseHours = hours}).releaseTime;
  return index ? releaseTimes.at(*index).text : "none";
}

std::string_view connectionShown(std::string_view mode) {
  const auto index = presentPreferences({.transportMode = mode}).connection;
  return index ? connections.at(*index).text : "none";
}

TEST(PreferencesPresentation, titlesItsRows) {
  const auto shown = presentPreferences({});
  EXPECT_EQ(shown.launchAtLogin.title, "Launch at login");
  EXPECT_EQ(shown.autoRelease.title, "Auto release");
  EXPECT_EQ(shown.autoSwitch.title, "Auto-switch");
  EXPECT_EQ(shown.globalHotkey, (ToggleRow{"Global hotkey", true, "Control Option D", ""}));
  EXPECT_EQ(shown.connectionTitle, "Connection");
}

TEST(PreferencesPresentation, showsTheDefaultsOfANewInstallation) {
  const auto shown = presentPreferences({});
  EXPECT_FALSE(shown.launchAtLogin.isOn);
  EXPECT_TRUE(shown.autoRelease.isOn);
  EXPECT_TRUE(shown.autoSwitch.isOn);
  EXPECT_TRUE(shown.globalHotkey.isOn);
  EXPECT_EQ(releaseTimes.at(shown.releaseTime.value()).text, "When locked");
  EXPECT_EQ(connections.at(shown.connection.value()).text, "Bluetooth");
}

TEST(PreferencesPresentation, showsEachSwitchByItself) {
  const PreferencesState allOff{
      .isLaunchAtLogin = false, .autoRelease = false, .autoConnect = false, .globalHotkeyEnabled = false};
  const auto isOn = [&allOff](auto change) {
    auto state = allOff;
    change(state);
    const auto shown = presentPreferences(state);
    return std::array{shown.launchAtLogin.isOn, shown.autoRelease.isOn, shown.autoSwitch.isOn, shown.globalHotkey.isOn};
  };
  using Switches = std::array<bool, 4>;
  EXPECT_EQ(isOn([](auto&) {}), (Switches{false, false, false, false}));
  EXPECT_EQ(isOn([](auto& state) { state.isLaunchAtLogin = true; }), (Switches{true, false, false, false}));
  EXPECT_EQ(isOn([](auto& state) { state.autoRelease = true; }), (Switches{false, true, false, false}));
  EXPECT_EQ(isOn([](auto& state) { state.autoConnect = true; }), (Switches{false, false, true, false}));
  EXPECT_EQ(isOn([](auto& state) { state.globalHotkeyEnabled = true; }), (Switches{false, false, false, true}));
}

TEST(PreferencesPresentation, offersFiveReleaseTimesInTheirOrder) {
  ASSERT_EQ(releaseTimes.size(), 5u);
  EXPECT_EQ(releaseTimes[0].text, "1 min");
  EXPECT_EQ(releaseTimes[0].hours, 1.0 / 60);
  EXPECT_EQ(releaseTimes[1].text, "5 min");
  EXPECT_EQ(releaseTimes[1].hours, 5.0 / 60);
  EXPECT_EQ(releaseTimes[2].text, "1 hour");
  EXPECT_EQ(releaseTimes[2].hours, 1.0);
  EXPECT_EQ(releaseTimes[3].text, "8 hours");
  EXPECT_EQ(releaseTimes[3].hours, 8.0);
  EXPECT_EQ(releaseTimes[4].text, "When locked");
  EXPECT_EQ(releaseTimes[4].hours, -1.0);
}

TEST(PreferencesPresentation, showsTheStoredReleaseTime) {
  for (const auto& time : releaseTimes) EXPECT_EQ(releaseTimeShown(time.hours), time.text);
  EXPECT_EQ(releaseTimeShown(0.017), "1 min");
  EXPECT_EQ(releaseTimeShown(0.083), "5 min");
}

TEST(PreferencesPresentation, marksNoReleaseTimeWhenAnotherIsStored) {
  for (const double hours : {0.0, 0.5, 2.0, -2.0}) EXPECT_EQ(releaseTimeShown(hours), "none") << hours;
}

TEST(PreferencesPresentation, offersBothConnections) {
  ASSERT_EQ(connections.size(), 2u);
  EXPECT_EQ(connections[0].text, "Bonjour");
  EXPECT_EQ(connections[0].transportMode, "bonjour");
  EXPECT_EQ(connections[1].text, "Bluetooth");
  EXPECT_EQ(connections[1].transportMode, "bluetooth");
}

TEST(PreferencesPresentation, showsTheConnectionThatTheStoredTextSelects) {
  EXPECT_EQ(connectionShown("bluetooth"), "Bluetooth");
  EXPECT_EQ(connectionShown("bonjour"), "Bonjour");
  EXPECT_EQ(connectionShown("BLUETOOTH"), "Bonjour");
  EXPECT_EQ(connectionShown(""), "Bonjour");
}

TEST(PreferencesPresentation, tellsInATooltipThatTheHotKeyIsTaken) {
  EXPECT_EQ(presentPreferences({.hotKey = HotKeyState::heldByAnother}).globalHotkey.tooltip,
            "Another program uses this shortcut.");
  EXPECT_EQ(presentPreferences({.hotKey = HotKeyState::heldByAnother}).globalHotkey.hint, "Control Option D");
}

}  // namespace
}  // namespace zolvex::test
