#include "ui/HeaderPresentation.h"
#include "ui/HelpPage.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

namespace zolvex::test {
namespace {

using Address = std::optional<std::string>;

std::string textOf(const std::string& name) {
  std::ostringstream text;
  text << std::ifstream(std::string(ZOLVEX_HELP) + "/" + name).rdbuf();
  return text.str();
}

/// A folder with a page whose path is all but plain.
struct HelpPageTest : testing::Test {
  HelpPageTest() {
    std::filesystem::create_directories(folder);
    std::ofstream(page) << "help";
  }
  ~HelpPageTest() override { std::filesystem::remove_all(folder); }

  static std::string temporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "zolvex-help-XXXXXX";
    return mkdtemp(name.data());
  }

  const std::filesystem::path folder = temporaryFolder();
  const std::string page = folder / "50% für Zolvex.html";
  const std::string url = "file://" + (folder / "50%25%20f%C3%BCr%20Zolvex.html").string();
};

TEST_F(HelpPageTest, aSiteHasIt) {
  EXPECT_EQ(HelpPage("https://example.org", {page}).address(), Address("https://example.org/zolvex/help"));
  EXPECT_EQ(HelpPage("http://example.org:8080/a/", {}).address(), Address("http://example.org:8080/a/zolvex/help"));
}

TEST_F(HelpPageTest, aSiteThatDoesNotParseOpensNothing) {
  for (const auto* site : {"example.org", "https://", "https:///", "ftp://example.org", "https://exa mple.org",
                           "https://example.org\n", "javascript:alert(1)", "///"})
    EXPECT_EQ(HelpPage(site, {page}).address(), Address()) << site;
}

TEST_F(HelpPageTest, withoutASiteItIsTheFirstCopyThatIsThere) {
  EXPECT_EQ(HelpPage("", {page}).address(), Address(url));
  EXPECT_EQ(HelpPage("", {folder / "missing.html", folder, page}).address(), Address(url));
  EXPECT_EQ(HelpPage("", {folder.string() + "/x/../50% für Zolvex.html"}).address(), Address(url));
}

TEST_F(HelpPageTest, withoutACopyNothingIsOpened) {
  EXPECT_EQ(HelpPage("", {}).address(), Address());
  EXPECT_EQ(HelpPage("", {folder / "missing.html"}).address(), Address());
}

TEST(HelpTextTest, tellsOfEveryState) {
  const auto page = textOf("index.html");
  using enum DeviceOwnershipState;
  for (const auto state :
       {unknown, thisMac, partiallyThisMac, otherMac, released, switchingToThisMac, releasing, failed, connecting}) {
    const auto title = std::string(presentHeader({.ownershipState = state}).title);
    EXPECT_NE(page.find("<th scope=\"row\">" + title + "</th>"), std::string::npos) << title;
  }
}

TEST(HelpTextTest, tellsOfEveryMessage) {
  const auto page = textOf("index.html");
  for (const std::string message :
       {"Asking peer to release...", "Peer unavailable. Quick connecting...", "Connecting...",
        "Connecting missing devices...", "Quick connecting...", "Connect failed. Quick connecting...", "Connected!",
        "Already connected", "Partially connected", "Not connected", "Turn the device off and on, then try again.",
        "Cancelled", "No devices configured", "Releasing...", "Released. Pair on other Mac", "Release may have failed",
        "Other Mac has zolvex", "Peer released. Check Nearby Devices"})
    EXPECT_NE(page.find("<th scope=\"row\">" + message + "</th>"), std::string::npos) << message;
}

TEST(HelpTextTest, needsNothingFromElsewhere) {
  for (const auto* name : {"index.html", "style.css"}) {
    const auto text = textOf(name);
    ASSERT_FALSE(text.empty()) << name;
    for (const auto* outside : {"http:", "https:", "<script", "@import", "url(", "src=\"/", "href=\"/"})
      EXPECT_EQ(text.find(outside), std::string::npos) << name << " has " << outside;
  }
}

TEST(HelpTextTest, everyLinkLeadsSomewhere) {
  const auto page = textOf("index.html");
  const std::regex link("href=\"([^\"]+)\"");
  int links = 0;
  for (std::sregex_iterator next(page.begin(), page.end(), link), end; next != end; ++next, ++links) {
    const auto target = (*next)[1].str();
    if (target.starts_with('#'))
      EXPECT_NE(page.find("id=\"" + target.substr(1) + "\""), std::string::npos) << target;
    else
      EXPECT_FALSE(textOf(target).empty()) << target;
  }
  EXPECT_GT(links, 8);
}

TEST(HelpTextTest, everyPictureIsThereInLightAndDarkAndCanBeHeard) {
  const auto page = textOf("index.html");
  const std::regex picture(
      "<picture><source media=\"\\(prefers-color-scheme: dark\\)\" srcset=\"([^\"]+)-dark.png\">\\s*"
      "<img src=\"([^\"]+)-light.png\" width=\"\\d+\" alt=\"([^\"]+)\"></picture>");
  int pictures = 0;
  for (std::sregex_iterator next(page.begin(), page.end(), picture), end; next != end; ++next, ++pictures) {
    const auto name = (*next)[1].str();
    EXPECT_EQ((*next)[2].str(), name);
    for (const auto* scheme : {"-dark.png", "-light.png"})
      EXPECT_TRUE(std::filesystem::exists(std::string(ZOLVEX_HELP) + "/" + name + scheme)) << name << scheme;
  }
  const std::regex any("<img ");
  EXPECT_EQ(pictures, std::distance(std::sregex_iterator(page.begin(), page.end(), any), std::sregex_iterator()));
  EXPECT_GT(pictures, 4);
}

TEST(HelpTextTest, hasADarkSide) {
  EXPECT_NE(textOf("style.css").find("prefers-color-scheme: dark"), std::string::npos);
}

}  // namespace
}  // namespace zolvex::test
