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

}  // namespace
}  // namespace zolvex::test
