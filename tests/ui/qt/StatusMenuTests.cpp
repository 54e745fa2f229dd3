#include "ui/qt/StatusMenu.h"
#include "ui/qt/UiWorld.h"

#include <algorithm>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

struct StatusMenuTest : testing::Test {
  /// The panel asks for the menu in order to show it; what it shows then.
  QStringList show() {
    Q_EMIT statusMenu.menu().aboutToShow();
    QStringList texts;
    for (const auto* entry : statusMenu.menu().actions())
      if (entry->isVisible() && !entry->isSeparator()) texts.append(entry->text());
    return texts;
  }
  void choose(const QString& text) {
    for (auto* entry : statusMenu.menu().actions())
      if (entry->text() == text) entry->trigger();
    ui.settle();
  }
  bool hasBeen(DeviceOwnershipState state) const {
    return std::find(ui.world.states.begin(), ui.world.states.end(), state) != ui.world.states.end();
  }

  UiWorld ui{{"Magic Keyboard"}};
  int openings = 0;
  StatusMenu statusMenu{ui.objects(), [this] { ++openings; }};
};

TEST_F(StatusMenuTest, offersWhatIsToBeDoneNow) {
  EXPECT_EQ(show(), (QStringList{u"Open Zolvex"_s, u"Switch to Me"_s, u"Quit"_s}));
  ui.world.haveConnected(1);
  EXPECT_EQ(show(), (QStringList{u"Open Zolvex"_s, u"Release"_s, u"Quit"_s}));
}

TEST_F(StatusMenuTest, doesWhatItSays) {
  show();
  choose(u"Open Zolvex"_s);
  EXPECT_EQ(openings, 1);
  choose(u"Quit"_s);
  EXPECT_EQ(ui.quits, 1);
  ui.world.haveConnected(1);
  show();
  choose(u"Release"_s);
  EXPECT_TRUE(hasBeen(DeviceOwnershipState::releasing));
}

TEST_F(StatusMenuTest, whatWasShownIsDoneThoughDevicesHaveComeMeanwhile) {
  show();
  ui.world.haveConnected(1);
  statusMenu.update();
  choose(u"Switch to Me"_s);
  EXPECT_FALSE(hasBeen(DeviceOwnershipState::releasing));
  EXPECT_TRUE(ui.world.store().anyConnected());
}

TEST_F(StatusMenuTest, whatWasShownIsDoneThoughDevicesHaveGoneMeanwhile) {
  ui.world.haveConnected(1);
  show();
  ui.world.store().markDisconnected("A1");
  statusMenu.update();
  choose(u"Release"_s);
  EXPECT_TRUE(hasBeen(DeviceOwnershipState::releasing));
  EXPECT_FALSE(hasBeen(DeviceOwnershipState::switchingToThisMac));
}

}  // namespace
}  // namespace zolvex::test
