#include "ui/qt/Appearance.h"
#include "ui/qt/UiWorld.h"

#include <QFont>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>

#include <cmath>
#include <memory>

namespace zolvex::test {
namespace {

using namespace Qt::Literals::StringLiterals;

constexpr double readable = 4.5;
const auto longName = std::string(90, 'W');

/// A singleton of QML, by its name.
QObject* singleton(UiWorld& ui, const QByteArray& name) {
  auto* const engine = qmlEngine(ui.item(u"primary"_s));
  QQmlComponent component(engine);
  component.setData("import QtQml\nimport Zolvex\nQtObject { property QtObject found: " + name + " }", QUrl());
  const std::unique_ptr<QObject> holder(component.create());
  return holder->property("found").value<QObject*>();
}

QObject* theme(UiWorld& ui) {
  return singleton(ui, "Theme");
}

Appearance* appearance(UiWorld& ui) {
  return qobject_cast<Appearance*>(singleton(ui, "Appearance"));
}

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

QRectF area(const QQuickItem& item) {
  return item.mapRectToScene(QRectF(0, 0, item.width(), item.height()));
}

/// Texts lie within the window and apart from each other.
void expectTidy(UiWorld& ui) {
  std::vector<QQuickItem*> texts;
  for (auto* const item : ui.items())
    if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty()) texts.push_back(item);
  const QRectF window(QPointF(), ui.window().size());
  for (auto* const one : texts) {
    const auto name = one->property("text").toString().toStdString();
    EXPECT_GE(area(*one).left(), 0) << name;
    EXPECT_LE(area(*one).right(), window.right()) << name;
    for (auto* const other : texts) {
      if (one >= other) continue;
      const auto overlap = area(*one).adjusted(0.5, 0.5, -0.5, -0.5).intersects(area(*other));
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

TEST(LayoutTest, nothingOverlapsWithALargeFont) {
  const auto font = QGuiApplication::font();
  auto large = font;
  large.setPointSizeF(font.pointSizeF() * 1.5);
  QGuiApplication::setFont(large);
  {
    UiWorld ui;
    ui.open();
    expectTidyPages(ui);
  }
  QGuiApplication::setFont(font);
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

struct ContrastTest : testing::TestWithParam<std::tuple<bool, bool>> {};

TEST_P(ContrastTest, textAndSymbolsCanBeRead) {
  const auto [isDark, isStrong] = GetParam();
  UiWorld ui;
  ui.open();
  appearance(ui)->take(u"org.freedesktop.appearance"_s, u"color-scheme"_s, isDark ? 1U : 2U);
  appearance(ui)->take(u"org.freedesktop.appearance"_s, u"contrast"_s, isStrong ? 1U : 0U);
  for (const auto* ground : {"surface", "raised", "control", "controlHovered"})
    for (const auto* role : {"text", "secondary", "tertiary", "green", "gray", "orange", "red", "blue"})
      EXPECT_GE(contrast(theme(ui)->property(role).value<QColor>(), theme(ui)->property(ground).value<QColor>()),
                readable)
          << role << " on " << ground;
  const auto primary = ui.item(u"primary"_s);
  EXPECT_GE(contrast(primary->property("ink").value<QColor>(), primary->property("fill").value<QColor>()), readable);
}

TEST_P(ContrastTest, isWhatIsDrawn) {
  const auto [isDark, isStrong] = GetParam();
  UiWorld ui;
  ui.open();
  appearance(ui)->take(u"org.freedesktop.appearance"_s, u"color-scheme"_s, isDark ? 1U : 2U);
  appearance(ui)->take(u"org.freedesktop.appearance"_s, u"contrast"_s, isStrong ? 1U : 0U);
  ui.settle();
  const auto picture = ui.window().grabWindow();
  const auto inPicture = area(*ui.item(u"stateTitle"_s)).toRect();
  const auto ground = picture.pixelColor(inPicture.topLeft());
  double best = 1;
  for (int y = inPicture.top(); y < inPicture.bottom(); ++y)
    for (int x = inPicture.left(); x < inPicture.right(); ++x)
      best = std::max(best, contrast(picture.pixelColor(x, y), ground));
  EXPECT_GE(best, readable);
  EXPECT_EQ(ground.lightness() < 128, isDark);
}

INSTANTIATE_TEST_SUITE_P(Schemes, ContrastTest, testing::Combine(testing::Bool(), testing::Bool()));

TEST(AppearanceTest, followsTheDesktopWhileRunning) {
  UiWorld ui;
  ui.open();
  auto* const desktop = appearance(ui);
  const auto before = theme(ui)->property("surface");
  desktop->take(u"org.freedesktop.appearance"_s, u"color-scheme"_s, 1U);
  EXPECT_NE(theme(ui)->property("surface"), before);
  desktop->take(u"org.gnome.desktop.interface"_s, u"enable-animations"_s, false);
  EXPECT_EQ(theme(ui)->property("shortDuration"), 0);
  desktop->take(u"org.freedesktop.appearance"_s, u"color-scheme"_s, 0U);
  EXPECT_EQ(theme(ui)->property("surface"), before);
}

}  // namespace
}  // namespace zolvex::test
