#include "ui/qt/UiWorld.h"

#include <QFont>
#include <QGuiApplication>
#include <QScreen>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

const auto longName = std::string(90, 'W');

/// Texts lie within the window and apart from each other.
void expectTidy(UiWorld& ui) {
  std::vector<QQuickItem*> texts;
  for (auto* const item : ui.items())
    if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty()) texts.push_back(item);
  const QRectF window(QPointF(), ui.window().size());
  for (auto* const one : texts) {
    const auto name = one->property("text").toString().toStdString();
    EXPECT_GE(UiWorld::area(*one).left(), 0) << name;
    EXPECT_LE(UiWorld::area(*one).right(), window.right()) << name;
    for (auto* const other : texts) {
      if (one >= other) continue;
      const auto overlap = UiWorld::area(*one).adjusted(0.5, 0.5, -0.5, -0.5).intersects(UiWorld::area(*other));
      EXPECT_FALSE(overlap) << name << " and " << other->property("text").toString().toStdString();
    }
  }
}

void expectTidyPages(UiWorld& ui) {
  expectTidy(ui);
  ui.click(u"about"_s);
  expectTidy(ui);
  ui.click(u"back"_s);
  ui.click(u"settings"_s);
  for (const auto section :
       {SettingsModel::Section::Devices, SettingsModel::Section::Peer, SettingsModel::Section::Preferences}) {
    ui.model.settings()->clickSection(section);
    if (section == SettingsModel::Section::Devices)
      ui.scanAnswer({{"A1", "Magic Keyboard", true}, {"B2", longName, false}});
    const auto until = ui.window().height();
    static_cast<void>(runUntil([&] { return ui.window().height() != until; }, std::chrono::milliseconds(400)));
    static_cast<void>(runUntil([] { return false; }, std::chrono::milliseconds(200)));
    expectTidy(ui);
  }
}

TEST(LayoutTest, longNamesEndInAnEllipsis) {
  UiWorld ui({longName, "Magic Mouse"}, false);
  ui.world.network().registerPeer(peerNamed("ABC123", longName, ui.world.time.now()));
  ui.open();
  expectTidyPages(ui);
}

/// A font that is larger than usual, while it lives.
class LargeFont {
 public:
  explicit LargeFont(double scale) {
    auto large = font_;
    large.setPointSizeF(font_.pointSizeF() * scale);
    QGuiApplication::setFont(large);
  }
  ~LargeFont() { QGuiApplication::setFont(font_); }
  LargeFont(const LargeFont&) = delete;

 private:
  const QFont font_ = QGuiApplication::font();
};

TEST(LayoutTest, nothingOverlapsWithALargeFont) {
  const LargeFont font(1.5);
  UiWorld ui;
  ui.open();
  expectTidyPages(ui);
}

TEST(LayoutTest, theListGivesWayWhereTheScreenIsTooSmall) {
  const LargeFont font(3.5);
  UiWorld ui({"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"});
  ui.openAt({300, 2, 24, 24});
  const auto screen = ui.window().screen()->availableGeometry();
  EXPECT_GE(ui.window().y(), screen.top());
  EXPECT_LE(ui.window().y() + ui.window().height(), screen.top() + screen.height());
  auto* const list = ui.item(u"devices"_s);
  ASSERT_LT(list->height(), ui.theme()->property("listHeight").toReal()) << "the screen is large enough";
  EXPECT_GE(list->height(), ui.theme()->property("leastListHeight").toReal());
  EXPECT_LE(UiWorld::area(*list).bottom(), UiWorld::area(*ui.item(u"quit"_s)).top());
  EXPECT_LE(UiWorld::area(*ui.item(u"quit"_s)).bottom(), ui.window().height());
}

TEST(LayoutTest, twelveDevicesScroll) {
  UiWorld few({"1", "2", "3"});
  few.open();
  UiWorld many({"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"});
  many.open();
  auto* const list = many.item(u"devices"_s);
  EXPECT_GT(list->property("contentHeight").toReal(), list->height());
  EXPECT_LT(many.window().height(), 700);
  EXPECT_TRUE(list->property("activeFocusOnTab").toBool());
  EXPECT_FALSE(few.item(u"devices"_s)->property("activeFocusOnTab").toBool());
}

TEST(LayoutTest, whatHasTheKeyboardIsScrolledIntoView) {
  const LargeFont font(2);
  UiWorld ui;
  ui.openAt({300, 2, 24, 24});
  ui.model.showSettings();
  ui.click(u"devicesHeader"_s);
  std::vector<PairedDevicePayload> paired;
  for (char c = 'A'; c <= 'Z'; ++c) paired.push_back({std::string(1, c), std::string(1, c), false});
  ui.scanAnswer(paired);
  ASSERT_TRUE(runUntil([&] { return UiWorld::area(*ui.item(u"device Z"_s)).top() > ui.window().height(); }))
      << "the screen is large enough";
  const auto begin = UiWorld::area(*ui.item(u"devicesHeader"_s)).top();
  auto least = begin;
  for (const auto key : {Qt::Key_Tab, Qt::Key_Backtab})
    for (std::size_t i = 0; i < paired.size() + 2; ++i) {
      ui.press(key);
      const auto isInView = [&ui] {
        const auto focused = UiWorld::area(*ui.window().activeFocusItem());
        return focused.top() >= 0 && focused.bottom() <= ui.window().height();
      };
      EXPECT_TRUE(runUntil(isInView));  // the section is still opening
      least = std::min(least, UiWorld::area(*ui.item(u"devicesHeader"_s)).top());
    }
  EXPECT_LT(least, begin);
  EXPECT_EQ(UiWorld::area(*ui.item(u"devicesHeader"_s)).top(), begin);
}

TEST(LayoutTest, theAboutPageScrollsWhereTheScreenIsTooSmall) {
  const LargeFont font(5);
  UiWorld ui;
  ui.openAt({300, 2, 24, 24});
  ui.click(u"about"_s);
  const auto last = [&ui] { return UiWorld::area(*ui.item(u"Acknowledgements"_s)); };
  ASSERT_TRUE(runUntil([&] { return last().bottom() > ui.window().height(); })) << "the screen is large enough";
  expectTidy(ui);
  for (int tabs = 0; ui.window().activeFocusItem()->objectName() != u"Acknowledgements"_s; ++tabs) {
    ASSERT_LT(tabs, 5) << "the keyboard does not get there";
    ui.press(Qt::Key_Tab);
    const auto focused = UiWorld::area(*ui.window().activeFocusItem());
    EXPECT_GE(focused.top(), 0);
    EXPECT_LE(focused.bottom(), ui.window().height());
  }
  expectTidy(ui);
}

TEST(AppearanceTest, followsTheDesktopWhileRunning) {
  UiWorld ui;
  ui.open();
  auto* const desktop = ui.appearance();
  const auto before = ui.theme()->property("surface");
  desktop->take(u"org.freedesktop.appearance"_s, u"color-scheme"_s, 1U);
  EXPECT_NE(ui.theme()->property("surface"), before);
  desktop->take(u"org.gnome.desktop.interface"_s, u"enable-animations"_s, false);
  EXPECT_EQ(ui.theme()->property("shortDuration"), 0);
  desktop->take(u"org.freedesktop.appearance"_s, u"color-scheme"_s, 0U);
  EXPECT_EQ(ui.theme()->property("surface"), before);
}

}  // namespace
}  // namespace zolvex::test
