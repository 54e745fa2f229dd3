#include "ui/qt/UiWorld.h"

#include <QAccessible>

#include <functional>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// As a screen reader walks it.
void walk(QAccessibleInterface* interface, const std::function<void(QAccessibleInterface&)>& visit) {
  if (!interface || interface->state().invisible) return;
  visit(*interface);
  for (int i = 0; i < interface->childCount(); ++i) walk(interface->child(i), visit);
}

struct AccessibilityTest : testing::Test {
  AccessibilityTest() {
    QAccessible::setActive(true);
    ui.open();
  }

  /// "name" of everything with this role.
  QStringList named(QAccessible::Role role) {
    QStringList names;
    walk(QAccessible::queryAccessibleInterface(&ui.window()), [&](QAccessibleInterface& interface) {
      if (interface.role() == role) names.append(interface.text(QAccessible::Name));
    });
    return names;
  }
  /// The control of this name and role; null when there is none.
  QAccessibleInterface* control(QAccessible::Role role, const QString& name) {
    QAccessibleInterface* found = nullptr;
    walk(QAccessible::queryAccessibleInterface(&ui.window()), [&](QAccessibleInterface& interface) {
      if (interface.role() == role && interface.text(QAccessible::Name) == name) found = &interface;
    });
    return found;
  }
  /// As a screen reader presses it for its user.
  void press(QAccessible::Role role, const QString& name) {
    auto* const found = control(role, name);
    ASSERT_NE(found, nullptr) << name.toStdString();
    auto* const actions = found->actionInterface();
    ASSERT_NE(actions, nullptr) << name.toStdString();
    ASSERT_TRUE(actions->actionNames().contains(QAccessibleActionInterface::pressAction())) << name.toStdString();
    actions->doAction(QAccessibleActionInterface::pressAction());
    ui.settle();
  }
  void expectEveryControlHasAName() {
    int controls = 0;
    walk(QAccessible::queryAccessibleInterface(&ui.window()), [&](QAccessibleInterface& interface) {
      if (!interface.state().focusable) return;
      ++controls;
      EXPECT_FALSE(interface.text(QAccessible::Name).isEmpty()) << "role " << interface.role();
    });
    EXPECT_GT(controls, 2);
  }

  UiWorld ui;
};

TEST_F(AccessibilityTest, theMainPageCanBeHeard) {
  const auto buttons = named(QAccessible::Button);
  for (const auto& name : {u"Switch to Me"_s, u"Quick Connect"_s, u"Settings"_s, u"About"_s, u"Quit"_s})
    EXPECT_TRUE(buttons.contains(name)) << name.toStdString();
  EXPECT_TRUE(named(QAccessible::StaticText).contains(u"Control Option D"_s));
  EXPECT_TRUE(named(QAccessible::ListItem).contains(u"Magic Keyboard"_s));
  expectEveryControlHasAName();
}

TEST_F(AccessibilityTest, theSettingsCanBeHeard) {
  ui.click(u"settings"_s);
  ui.model.settings()->clickSection(SettingsModel::Section::Devices);
  ui.scanAnswer({{"A1", "Magic Keyboard", true}});
  ui.settle();
  EXPECT_TRUE(named(QAccessible::CheckBox).contains(u"Magic Keyboard"_s));
  EXPECT_TRUE(named(QAccessible::Button).contains(u"Save"_s));
  expectEveryControlHasAName();
  ui.model.settings()->clickSection(SettingsModel::Section::Preferences);
  ui.settle();
  expectEveryControlHasAName();
}

TEST_F(AccessibilityTest, whatIsGoingOnCanBeHeard) {
  const auto texts = named(QAccessible::StaticText);
  for (const auto* item : {u"stateTitle", u"stateSubtitle", u"peerText", u"version"})
    EXPECT_EQ(texts.count(ui.text(QString::fromUtf16(item))), 1) << QString::fromUtf16(item).toStdString();
}

TEST_F(AccessibilityTest, noTextIsHeardTwice) {
  ui.click(u"settings"_s);
  ui.model.settings()->clickSection(SettingsModel::Section::Preferences);
  ui.settle();
  auto texts = named(QAccessible::StaticText);
  EXPECT_FALSE(texts.contains(u"Launch at login"_s)) << "it is the name of the switch";
  EXPECT_FALSE(texts.contains(u"Preferences"_s)) << "it is the name of the header";
  EXPECT_EQ(texts.removeDuplicates(), 0);
}

TEST_F(AccessibilityTest, buttonsCanBePressed) {
  press(QAccessible::Button, u"Settings"_s);
  EXPECT_EQ(ui.model.page(), PopoverModel::Page::Settings);
  press(QAccessible::Button, u"Peer Mac"_s);
  EXPECT_TRUE(ui.isVisible(u"registeredButton"_s));
  press(QAccessible::Button, u"Back"_s);
  EXPECT_EQ(ui.model.page(), PopoverModel::Page::Main);
  press(QAccessible::Button, u"Quit"_s);
  EXPECT_EQ(ui.quits, 1);
}

TEST_F(AccessibilityTest, devicesCanBeTicked) {
  ui.click(u"settings"_s);
  ui.model.settings()->clickSection(SettingsModel::Section::Devices);
  ui.scanAnswer({{"C3", "Desk Lamp", true}});
  ui.settle();
  for (const bool isChosen : {true, false}) {
    press(QAccessible::CheckBox, u"Desk Lamp"_s);
    EXPECT_EQ(control(QAccessible::CheckBox, u"Desk Lamp"_s)->state().checked, isChosen);
    EXPECT_EQ(ui.model.settings()->devicesHeader().summary,
              isChosen ? u"3 devices selected"_s : u"2 devices selected"_s);
  }
}

TEST_F(AccessibilityTest, preferencesCanBeChanged) {
  ui.click(u"settings"_s);
  ui.model.settings()->clickSection(SettingsModel::Section::Preferences);
  ui.settle();
  const bool before = ui.model.settings()->preferences()->autoSwitch().isOn;
  press(QAccessible::CheckBox, u"Auto-switch"_s);
  EXPECT_NE(ui.model.settings()->preferences()->autoSwitch().isOn, before);
  ui.model.settings()->preferences()->setConnection(0);
  EXPECT_EQ(control(QAccessible::ComboBox, u"Connection"_s)->text(QAccessible::Description), u"Bonjour"_s);
}

}  // namespace
}  // namespace zolvex::test
