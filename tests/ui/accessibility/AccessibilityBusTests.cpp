#include "app/ZolvexProcess.h"
#include "platform/session/XvfbServer.h"
#include "ui/accessibility/ScreenReader.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;
using Role = Accessible::Role;
using State = Accessible::State;

constexpr auto settings =
    R"({"managedDeviceAddresses": ["A1"], "deviceNames": {"A1": "Desk Keyboard"}, "autoConnect": false,
        "globalHotkeyEnabled": false, "transportMode": "bluetooth", "didOpenAtFirstStart": true})";

/// The real program on a display without anything else, and a screen reader that has not met it before.
struct AccessibilityBusTest : testing::Test {
  void SetUp() override {
    if (const auto reason = XvfbServer::reasonAgainst(); !reason.empty()) GTEST_SKIP() << reason;
    if (const auto reason = ScreenReader::reasonAgainst(); !reason.empty()) GTEST_SKIP() << reason;
    ASSERT_TRUE(server.start() && computer.sessionBus.start());
    computer.display = QString::fromStdString(server.display());
    ASSERT_TRUE(reader.start(computer.sessionBus.address(), computer.variables()));
    computer.writeSettings(settings);
    ASSERT_TRUE(computer.startOnBus());
    ASSERT_EQ(computer.control({u"show"_s}).exitStatus(), 0);
    ASSERT_TRUE(appears(Role::button, u"Switch to Me"_s));
  }
  void TearDown() override {
    if (!computer.zolvex) return;
    EXPECT_EQ(computer.end(), 0);
  }

  std::optional<Accessible> find(Role role, const QString& name) { return reader.tree().find(role, name); }
  bool appears(Role role, const QString& name) {
    return runUntil([&] { return find(role, name).has_value(); });
  }
  void press(Role role, const QString& name) {
    const auto control = find(role, name);
    ASSERT_TRUE(control) << name.toStdString();
    EXPECT_TRUE(reader.tree().press(*control)) << name.toStdString();
  }
  /// A switch of the preferences, by whichever role this Qt gives it.
  Accessible preference(const QString& name) {
    if (const auto box = find(Role::checkBox, name)) return *box;
    return find(Role::toggleSwitch, name).value_or(Accessible{});
  }
  void expectTexts(Role role, const QStringList& names) {
    for (const auto& name : names) EXPECT_TRUE(find(role, name)) << name.toStdString();
  }
  /// What must hold of every control on every page.
  void expectUsableControls(std::size_t fewest) {
    const auto all = reader.tree().read();
    std::size_t controls = 0;
    for (const auto& one : all) {
      if (!one.isControl() || one.role == Role::listItem) continue;
      ++controls;
      EXPECT_FALSE(one.name.isEmpty()) << "role " << one.role;
      const auto name = one.name.toStdString();
      if (!one.is(State::enabled)) continue;
      EXPECT_TRUE(one.is(State::focusable)) << name;
      EXPECT_TRUE(one.is(State::sensitive)) << name;
      EXPECT_TRUE(one.actions.contains(u"Press"_s)) << name;
    }
    EXPECT_GE(controls, fewest);
    EXPECT_LE(std::ranges::count_if(all, [](const auto& one) { return one.isControl() && one.is(State::focused); }), 1);
  }

  XvfbServer server;
  ZolvexProcess computer;
  ScreenReader reader;
};

TEST_F(AccessibilityBusTest, theMainPageTellsWhatItShows) {
  expectTexts(Role::frame, {u"Zolvex"_s});
  expectTexts(Role::heading, {u"Zolvex"_s});
  expectTexts(Role::label,
              {u"Ready to switch"_s, u"Devices are free to connect."_s, u"No peer added"_s, u"Control Option D"_s});
  expectTexts(Role::button, {u"About"_s, u"Settings"_s, u"Switch to Me"_s, u"Quick Connect"_s, u"Quit"_s});
  expectTexts(Role::list, {u"Devices"_s});
  const auto device = find(Role::listItem, u"Desk Keyboard"_s);
  ASSERT_TRUE(device);
  EXPECT_EQ(device->description, u"Disconnected"_s);
  EXPECT_TRUE(runUntil([this] { return find(Role::button, u"Switch to Me"_s)->is(State::focused); }));
  expectUsableControls(5);
}

TEST_F(AccessibilityBusTest, theSettingsTellTheirSectionsAndWhichIsOpen) {
  press(Role::button, u"Settings"_s);
  ASSERT_TRUE(appears(Role::button, u"Preferences"_s));
  EXPECT_EQ(find(Role::button, u"Devices"_s)->description, u"1 device selected"_s);
  EXPECT_EQ(find(Role::button, u"Peer Mac"_s)->description, u"Searching"_s);
  EXPECT_EQ(find(Role::button, u"Preferences"_s)->description, u"Auto-switch off"_s);
  EXPECT_FALSE(find(Role::button, u"Peer Mac"_s)->is(State::checked));
  press(Role::button, u"Peer Mac"_s);
  EXPECT_TRUE(runUntil([this] { return find(Role::button, u"Peer Mac"_s)->is(State::checked); }));
  EXPECT_TRUE(appears(Role::label, u"Searching for peer..."_s));
  expectTexts(Role::label, {u"Add your peer Mac to finish setup."_s});
  expectUsableControls(6);
}

TEST_F(AccessibilityBusTest, preferencesAreHeardAndChanged) {
  press(Role::button, u"Settings"_s);
  ASSERT_TRUE(appears(Role::button, u"Preferences"_s));
  press(Role::button, u"Preferences"_s);
  ASSERT_TRUE(appears(Role::comboBox, u"Connection"_s));
  expectUsableControls(11);
  EXPECT_FALSE(preference(u"Auto-switch"_s).is(State::checked));
  EXPECT_TRUE(preference(u"Auto release"_s).is(State::checked));
  EXPECT_EQ(preference(u"Global hotkey"_s).description, u"Control Option D"_s);
  EXPECT_TRUE(reader.tree().press(preference(u"Auto-switch"_s)));
  EXPECT_TRUE(runUntil([this] { return preference(u"Auto-switch"_s).is(State::checked); }));
  EXPECT_TRUE(runUntil([this] { return find(Role::button, u"Preferences"_s)->description == u"Auto-switch on"_s; }));
}

TEST_F(AccessibilityBusTest, aMenuIsOpenedAndChosenFrom) {
  press(Role::button, u"Settings"_s);
  ASSERT_TRUE(appears(Role::button, u"Preferences"_s));
  press(Role::button, u"Preferences"_s);
  ASSERT_TRUE(appears(Role::comboBox, u"Connection"_s));
  EXPECT_EQ(find(Role::comboBox, u"Connection"_s)->description, u"Bluetooth"_s);
  EXPECT_EQ(find(Role::comboBox, u"Auto release"_s)->description, u"When locked"_s);
  press(Role::comboBox, u"Connection"_s);
  ASSERT_TRUE(appears(Role::listItem, u"Bonjour"_s));
  press(Role::listItem, u"Bonjour"_s);
  EXPECT_TRUE(runUntil([this] { return find(Role::comboBox, u"Connection"_s)->description == u"Bonjour"_s; }));
}

TEST_F(AccessibilityBusTest, aQuestionIsHeardAndAnsweredNo) {
  press(Role::button, u"Settings"_s);
  ASSERT_TRUE(appears(Role::button, u"Uninstall"_s));
  press(Role::button, u"Uninstall"_s);
  ASSERT_TRUE(appears(Role::label, u"Uninstall Zolvex?"_s));
  expectTexts(Role::button, {u"Cancel"_s, u"Uninstall"_s});
  EXPECT_TRUE(runUntil([this] { return find(Role::button, u"Cancel"_s)->is(State::focused); }));
  press(Role::button, u"Cancel"_s);
  EXPECT_TRUE(runUntil([this] { return !find(Role::label, u"Uninstall Zolvex?"_s); }));
}

TEST_F(AccessibilityBusTest, theAboutPageSaysWhatCannotBePressed) {
  press(Role::button, u"About"_s);
  ASSERT_TRUE(appears(Role::heading, u"Zolvex by Quenmar"_s));
  expectTexts(Role::button,
              {u"Back"_s, u"Help Center"_s, u"Privacy Policy"_s, u"Terms of Service"_s, u"Acknowledgements"_s});
  EXPECT_EQ(find(Role::button, u"Check for Updates"_s)->description, u"Not available"_s);
  expectUsableControls(6);
  press(Role::button, u"Back"_s);
  EXPECT_TRUE(appears(Role::button, u"Switch to Me"_s));
}

}  // namespace
}  // namespace zolvex::test
