#include "ui/StatusItemPresentation.h"
#include "ui/SvgFile.h"
#include "ui/Symbol.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace zolvex::test {
namespace {

using Names = std::set<std::string>;

const std::filesystem::path assets = ZOLVEX_ASSETS;
const std::string extension = ".svg";

/// The files of a folder, without their extension.
Names drawingsIn(const std::string& folder) {
  Names names;
  for (const auto& entry : std::filesystem::directory_iterator(assets / folder))
    if (entry.path().extension() == extension) names.insert(entry.path().stem().string());
  return names;
}

SvgFile symbolFile(std::string_view name) {
  return readSvg(assets / "symbols" / (std::string(name) + extension));
}

// The agreed style, see assets/symbols/README.md.
const std::map<std::string, std::string> rootAttributes{
    {"xmlns", "http://www.w3.org/2000/svg"},
    {"width", "24"},
    {"height", "24"},
    {"viewBox", "0 0 24 24"},
    {"fill", "none"},
    {"stroke", "currentColor"},
    {"stroke-width", "2"},
    {"stroke-linecap", "round"},
    {"stroke-linejoin", "round"},
};
const Names shapes{"path", "circle", "rect"};
const Names shapeAttributes{"d", "cx", "cy", "r", "x", "y", "width", "height", "rx", "fill-rule", "fill", "stroke"};

/// A shape is a stroke, a stroke that is filled, or a filled outline.
bool hasAgreedPaint(const SvgElement& shape) {
  const auto fill = shape.attribute("fill");
  const auto stroke = shape.attribute("stroke");
  return (fill.empty() && stroke.empty()) || (fill == "currentColor" && (stroke.empty() || stroke == "none"));
}

void expectAgreedShape(const SvgElement& shape) {
  EXPECT_TRUE(shapes.contains(shape.name)) << shape.name;
  for (const auto& [key, value] : shape.attributes) EXPECT_TRUE(shapeAttributes.contains(key)) << key;
  EXPECT_TRUE(hasAgreedPaint(shape));
  if (shape.name == "path") {
    EXPECT_EQ(complaintAboutPath(shape.attribute("d")), "");
  }
}

TEST(Symbol, eachHasItsDrawingAndEachDrawingItsSymbol) {
  const Names listed(symbolNames.begin(), symbolNames.end());
  EXPECT_EQ(listed.size(), symbolNames.size());
  EXPECT_EQ(drawingsIn("symbols"), listed);
}

TEST(Symbol, isDrawnInTheAgreedStyleWithoutAColourOfItsOwn) {
  for (const auto name : symbolNames) {
    SCOPED_TRACE(name);
    const auto file = symbolFile(name);
    ASSERT_EQ(file.complaint, "");
    ASSERT_GE(file.elements.size(), 2u);
    EXPECT_EQ(file.elements[0].name, "svg");
    EXPECT_EQ(file.elements[0].attributes, rootAttributes);
    std::for_each(file.elements.begin() + 1, file.elements.end(), expectAgreedShape);
  }
}

TEST(Symbol, ofAComputedNameIsTheListedOne) {
  for (const auto name : symbolNames) EXPECT_EQ(Symbol::named(std::string(name)).name(), name);
}

TEST(TrayIcon, existsForEachStateOfTheStatusItem) {
  Names wanted;
  for (const bool isSwitching : {true, false})
    for (const bool anyConnected : {true, false}) wanted.emplace(presentStatusItem(isSwitching, anyConnected).iconName);
  EXPECT_EQ(drawingsIn("tray"), wanted);
}

TEST(TrayIcon, isOneFilledPathThatThePanelTints) {
  for (const auto& name : drawingsIn("tray")) {
    SCOPED_TRACE(name);
    const auto file = readSvg(assets / "tray" / (name + extension));
    ASSERT_EQ(file.complaint, "");
    ASSERT_EQ(file.elements.size(), 3u);
    EXPECT_EQ(file.elements[0].attribute("viewBox"), "0 0 24 24");
    EXPECT_EQ(file.elements[1].attribute("id"), "current-color-scheme");
    const auto& path = file.elements[2];
    EXPECT_EQ(path.name, "path");
    EXPECT_EQ(path.attribute("class"), "ColorScheme-Text");
    EXPECT_EQ(path.attribute("fill"), "currentColor");
    EXPECT_EQ(path.attribute("stroke"), "");
    EXPECT_EQ(complaintAboutPath(path.attribute("d")), "");
  }
}

TEST(SvgFile, complainsOfWhatIsNotWellFormed) {
  EXPECT_EQ(parseSvg(R"(<svg a="1"><g/></svg>)").complaint, "");
  EXPECT_EQ(parseSvg(R"(<svg a="1"><g/></svg>)").elements.size(), 2u);
  for (const auto* text : {"", " ", "<svg>", "<svg></g>", "<svg/><svg/>", "<svg a=1/>", R"(<svg a="1" a="2"/>)",
                           "<svg>text</svg>", R"(<svg a="<"/>)", "</svg>"})
    EXPECT_NE(parseSvg(text).complaint, "") << text;
}

TEST(SvgFile, complainsOfBrokenPaths) {
  EXPECT_EQ(complaintAboutPath("M1 2L3 4 5 6H7V-8.5C1 2 3 4 5 6S1 2 3 4A1 1 0 0 1 2 2Z"), "");
  for (const auto* data : {"", "L1 2", "M1", "M1 2L3", "M1 2X", "M1 2Z3", "M1 2A1 1 0 0 1 2", "M1 2m3 4", "M1.2.3"})
    EXPECT_NE(complaintAboutPath(data), "") << data;
}

}  // namespace
}  // namespace zolvex::test
