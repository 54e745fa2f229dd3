#include "ui/qt/UiWorld.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr double readable = 4.5;
constexpr std::size_t fewestMarks = 5;  // on any page

double luminance(const QColor& colour) {
  const auto part = [](double value) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * part(colour.redF()) + 0.7152 * part(colour.greenF()) + 0.0722 * part(colour.blueF());
}

double contrast(const QColor& one, const QColor& other) {
  const auto [less, more] = std::minmax({luminance(one), luminance(other)});
  return (more + 0.05) / (less + 0.05);
}

/// What can be seen of an item between the edges of everything that cuts it off.
QRect visibleArea(const QQuickItem& item, const QRect& window) {
  auto area = UiWorld::area(item);
  for (const auto* outer = item.parentItem(); outer; outer = outer->parentItem())
    if (outer->clip()) area &= UiWorld::area(*outer);
  return area.toAlignedRect() & window;
}

/// The best contrast of any pixel in this part of the picture to what most of them, or most of those around it, are.
/// The edges of letters are mixtures; their middle is the colour that they are painted with.
double contrastIn(const QImage& picture, const QRect& area) {
  std::map<QRgb, int> counts;
  const auto around = area.adjusted(-1, -1, 1, 1) & picture.rect();
  for (int y = around.top(); y <= around.bottom(); ++y)
    for (int x = around.left(); x <= around.right(); ++x)
      if (!area.contains(x, y) || area.height() > 12) ++counts[picture.pixel(x, y)];
  const auto ground = std::ranges::max_element(counts, {}, [](const auto& one) { return one.second; })->first;
  double best = 1;
  for (int y = area.top(); y <= area.bottom(); ++y)
    for (int x = area.left(); x <= area.right(); ++x)
      best = std::max(best, contrast(picture.pixelColor(x, y), QColor(ground)));
  return best;
}

/// Texts, symbols and dots; what cannot be used now may be faint.
std::vector<QQuickItem*> marks(UiWorld& ui) {
  std::vector<QQuickItem*> found;
  for (auto* const item : ui.items()) {
    const bool isText = item->inherits("QQuickText") && !item->property("text").toString().isEmpty();
    const bool isSymbol = item->inherits("zolvex::SymbolItem") && !item->property("name").toString().isEmpty();
    const bool isDot = QByteArray(item->metaObject()->className()).startsWith("Dot_");
    if ((isText || isSymbol || isDot) && item->isEnabled()) found.push_back(item);
  }
  return found;
}

std::string nameOf(const QQuickItem& item) {
  for (const auto* property : {"text", "name", "role"})
    if (const auto name = item.property(property).toString(); !name.isEmpty()) return name.toStdString();
  return item.metaObject()->className();
}

/// On what is drawn, not on what was meant to be drawn.
void expectReadable(UiWorld& ui) {
  ui.settle();
  const auto picture = ui.window().grabWindow().convertToFormat(QImage::Format_RGB32);
  std::size_t measured = 0;
  for (const auto* const item : marks(ui)) {
    const auto area = visibleArea(*item, picture.rect());
    if (area.width() < item->width() - 1 || area.height() < item->height() - 1) continue;  // cut off
    ++measured;
    EXPECT_GE(contrastIn(picture, area), readable) << nameOf(*item);
  }
  EXPECT_GE(measured, fewestMarks);
}

/// In light and dark, in normal and high contrast.
struct ContrastTest : testing::TestWithParam<std::tuple<bool, bool>> {
  void open() {
    const auto [isDark, isStrong] = GetParam();
    ui.open();
    ui.appearance()->take(u"org.gnome.desktop.interface"_s, u"enable-animations"_s, false);
    ui.appearance()->take(u"org.freedesktop.appearance"_s, u"color-scheme"_s, isDark ? 1U : 2U);
    ui.appearance()->take(u"org.freedesktop.appearance"_s, u"contrast"_s, isStrong ? 1U : 0U);
    ui.settle();
  }
  void openSettings(SettingsModel::Section section) {
    if (ui.model.page() != PopoverModel::Page::Settings) ui.click(u"settings"_s);
    const auto before = ui.window().height();
    ui.model.settings()->clickSection(section);
    if (section == SettingsModel::Section::Devices) ui.scanAnswer({{"A1", "Magic Keyboard", true}, {"B2", "", false}});
    EXPECT_TRUE(runUntil([&] { return ui.window().height() != before; }));
  }

  UiWorld ui;
};

INSTANTIATE_TEST_SUITE_P(Schemes, ContrastTest, testing::Combine(testing::Bool(), testing::Bool()));

TEST_P(ContrastTest, theStateOfTheDevices) {
  open();
  expectReadable(ui);
  ui.world.haveConnected(1);
  ui.world.manager().refreshFromLiveState();
  expectReadable(ui);
  ui.world.haveConnected(2);
  ui.world.manager().refreshFromLiveState();
  expectReadable(ui);
}

TEST_P(ContrastTest, aSwitch) {
  ui.world.peer.answer = std::nullopt;
  open();
  ui.click(u"primary"_s);
  ASSERT_TRUE(ui.isVisible(u"cancel"_s));
  expectReadable(ui);
}

TEST_P(ContrastTest, theSettings) {
  open();
  openSettings(SettingsModel::Section::Devices);
  expectReadable(ui);
  openSettings(SettingsModel::Section::Preferences);
  expectReadable(ui);
  openSettings(SettingsModel::Section::Peer);
  expectReadable(ui);
}

TEST_P(ContrastTest, theAboutPage) {
  open();
  ui.click(u"about"_s);
  expectReadable(ui);
}

TEST_P(ContrastTest, everyColourOfTheThemeOnEveryGround) {
  open();
  for (const auto* ground : {"surface", "raised", "control", "controlHovered"})
    for (const auto* role : {"text", "secondary", "tertiary", "green", "gray", "orange", "red", "blue"})
      EXPECT_GE(contrast(ui.theme()->property(role).value<QColor>(), ui.theme()->property(ground).value<QColor>()),
                readable)
          << role << " on " << ground;
}

TEST_P(ContrastTest, theSchemeIsTheOneAskedFor) {
  open();
  const auto picture = ui.window().grabWindow();
  EXPECT_EQ(picture.pixelColor(3, 3).lightness() < 128, std::get<0>(GetParam()));
}

}  // namespace
}  // namespace zolvex::test
