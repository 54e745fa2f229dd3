#include "ui/qt/StatusItem.h"
#include "ui/qt/UiWorld.h"

#include <QGuiApplication>

#include <set>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

TEST(PopoverTest, isMadeAtItsFirstOpening) {
  UiWorld ui;
  EXPECT_EQ(ui.popover.window(), nullptr);
  ui.open();
  EXPECT_TRUE(ui.popover.isShown());
}

TEST(PopoverTest, escapeGoesBackThenCloses) {
  UiWorld ui;
  ui.open();
  ui.click(u"settings"_s);
  EXPECT_EQ(ui.model.page(), PopoverModel::Page::Settings);
  ui.press(Qt::Key_Escape);
  EXPECT_EQ(ui.model.page(), PopoverModel::Page::Main);
  EXPECT_TRUE(ui.popover.isShown());
  ui.press(Qt::Key_Escape);
  EXPECT_FALSE(ui.popover.isShown());
}

TEST(PopoverTest, theAboutPageHasItsButtons) {
  UiWorld ui;
  ui.open();
  ui.click(u"about"_s);
  for (const auto& name : {u"Check for Updates"_s, u"Help Center"_s, u"Privacy Policy"_s, u"Terms of Service"_s})
    EXPECT_TRUE(ui.isVisible(name));
  EXPECT_FALSE(ui.item(u"Check for Updates"_s)->isEnabled());
  EXPECT_EQ(ui.item(u"Check for Updates"_s)->property("tint"), u"accent"_s);
  EXPECT_EQ(ui.item(u"Help Center"_s)->property("tint"), u"primary"_s);
  ui.click(u"Help Center"_s);  // without a help page it does nothing
  ui.click(u"back"_s);
  EXPECT_EQ(ui.model.page(), PopoverModel::Page::Main);
}

/// The window with the licence; null when it is not shown.
QWindow* acknowledgements() {
  const auto windows = QGuiApplication::topLevelWindows();
  const auto found = std::find_if(windows.begin(), windows.end(), [](const auto* window) {
    return window->isVisible() && window->title() == u"Acknowledgements"_s;
  });
  return found == windows.end() ? nullptr : *found;
}

TEST(PopoverTest, acknowledgementsOpenAWindowWithTheLicence) {
  UiWorld ui;
  ui.open();
  ui.click(u"about"_s);
  ui.click(u"Acknowledgements"_s);
  auto* const window = acknowledgements();
  ASSERT_NE(window, nullptr);
  window->close();
  ui.click(u"back"_s);  // and Qt lets go of a page's picture when it draws the next page
  EXPECT_EQ(ui.model.page(), PopoverModel::Page::Main) << "the popover can be used again";
}

TEST(PopoverTest, acknowledgementsLeaveThePopoverAtItsIcon) {
  UiWorld ui;
  ui.openAt({600, 2, 24, 24});
  ui.click(u"about"_s);
  ui.click(u"Acknowledgements"_s);
  ASSERT_TRUE(runUntil([] { return acknowledgements() && acknowledgements() == QGuiApplication::focusWindow(); }));
  ui.settle();
  EXPECT_TRUE(ui.popover.isShown());
  acknowledgements()->close();
  ui.click(u"back"_s);
  EXPECT_TRUE(ui.popover.isShown());
}

TEST(PopoverTest, everyControlIsReachedByTheKeyboard) {
  UiWorld ui({"Magic Keyboard"});
  ui.open();
  for (const auto& page : {u""_s, u"settings"_s, u"about"_s}) {
    if (!page.isEmpty()) ui.click(page);
    std::set<QString> reached;
    for (int i = 0; i < 40; ++i) {
      ui.press(Qt::Key_Tab);
      if (auto* const focused = ui.window().activeFocusItem()) reached.insert(focused->objectName());
    }
    for (auto* const item : ui.items()) {
      if (!item->isEnabled() || !item->inherits("QQuickAbstractButton")) continue;
      EXPECT_TRUE(reached.contains(item->objectName())) << item->objectName().toStdString();
    }
    if (!page.isEmpty()) ui.press(Qt::Key_Escape);
  }
}

TEST(PopoverTest, fiveHundredOpeningsLeaveNothingBehind) {
  UiWorld ui;
  ui.open();
  const auto objects = [&] { return ui.window().findChildren<QObject*>().size(); };
  const auto before = objects();
  for (int i = 0; i < 500; ++i) {
    ui.model.showSettings();
    ui.popover.close();
    ui.popover.show(std::nullopt);
    ui.model.back();
    runPending();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  EXPECT_TRUE(runUntil([&] { return objects() <= before; })) << objects() << " objects, before " << before;
}

struct StatusItemTest : testing::Test {
  UiWorld ui;
  StatusItem statusItem{ui.objects(), ui.popover};
};

TEST_F(StatusItemTest, followsTheStateWithinThreeSeconds) {
  statusItem.start();
  EXPECT_EQ(statusItem.shown().symbol.name(), "circle.dotted");
  ui.world.haveConnected(1);
  ui.world.advance(Seconds(2.9));
  EXPECT_EQ(statusItem.shown().symbol.name(), "circle.dotted");
  ui.world.advance(Seconds(0.1));
  EXPECT_EQ(statusItem.shown().symbol.name(), "hand.pinch.fill");
  ui.world.setWorkers("unregister", {.duration = Seconds(5)});
  ui.world.manager().releaseDevices();
  ui.world.advance(Seconds(3.0));
  EXPECT_EQ(statusItem.shown().symbol.name(), "arrow.triangle.2.circlepath");
  ui.world.advance(Seconds(30));
  EXPECT_EQ(statusItem.shown().symbol.name(), "circle.dotted");
}

TEST_F(StatusItemTest, aLeftClickOnlyEverShows) {
  statusItem.clicked(QSystemTrayIcon::Trigger);
  EXPECT_TRUE(ui.popover.isShown());
  statusItem.clicked(QSystemTrayIcon::Trigger);
  EXPECT_TRUE(ui.popover.isShown());
}

TEST_F(StatusItemTest, aRightClickShowsAndCloses) {
  statusItem.clicked(QSystemTrayIcon::Context);
  EXPECT_TRUE(ui.popover.isShown());
  statusItem.clicked(QSystemTrayIcon::Context);
  EXPECT_FALSE(ui.popover.isShown());
}

}  // namespace
}  // namespace zolvex::test
