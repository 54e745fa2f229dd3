#include "ui/AlertPresentation.h"
#include "ui/PeerSectionPresentation.h"
#include "ui/PresentationPrinting.h"
#include "ui/PresentationValues.h"
#include "ui/SettingsPresentation.h"
#include "ui/SetupPresentation.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

using enum SettingsSection;

constexpr std::array allSections{devices, peer, preferences};

TEST(SettingsSection, opensTheDevicesAtFirstWhenNoneAreManaged) {
  EXPECT_EQ(sectionAtOpening(std::nullopt, false), devices);
  EXPECT_EQ(sectionAtOpening(std::nullopt, true), std::nullopt);
}

TEST(SettingsSection, keepsWhatIsOpenWhenThePageOpens) {
  for (const auto section : allSections)
    for (const bool hasManagedDevices : {true, false}) EXPECT_EQ(sectionAtOpening(section, hasManagedDevices), section);
}

TEST(SettingsSection, opensOneSectionAtATime) {
  for (const auto clicked : allSections) {
    EXPECT_EQ(clickSection(std::nullopt, clicked).expanded, clicked);
    for (const auto open : allSections)
      EXPECT_EQ(clickSection(open, clicked).expanded, open == clicked ? std::nullopt : std::optional(clicked));
  }
}

TEST(SettingsSection, scansForDevicesWhenTheirSectionIsOpened) {
  EXPECT_TRUE(clickSection(std::nullopt, devices).refreshesPairedDevices);
  EXPECT_TRUE(clickSection(peer, devices).refreshesPairedDevices);
  EXPECT_FALSE(clickSection(devices, devices).refreshesPairedDevices);
  EXPECT_FALSE(clickSection(devices, peer).refreshesPairedDevices);
  EXPECT_FALSE(clickSection(std::nullopt, preferences).refreshesPairedDevices);
}

TEST(SettingsPresentation, headsEachSectionWithItsSymbolTitleAndSummary) {
  const std::array<SectionHeader, 3> expected{{
      {devices, "rectangle.connected.to.line.below", "Devices", "No devices selected", "chevron.right"},
      {peer, "desktopcomputer", "Peer Mac", "Searching", "chevron.right"},
      {preferences, "slider.horizontal.3", "Preferences", "Auto-switch on", "chevron.right"},
  }};
  EXPECT_EQ(presentSections({}, now), expected);
}

TEST(SettingsPresentation, pointsTheChevronOfTheOpenSectionDown) {
  for (std::size_t open = 0; open < allSections.size(); ++open) {
    const auto sections = presentSections({.expanded = allSections[open]}, now);
    for (std::size_t i = 0; i < sections.size(); ++i)
      EXPECT_EQ(sections[i].chevron.name(), i == open ? "chevron.down" : "chevron.right");
  }
}

TEST(SettingsPresentation, countsTheSelectedDevices) {
  EXPECT_EQ(selectionCount(0), "No devices selected");
  EXPECT_EQ(selectionCount(1), "1 device selected");
  EXPECT_EQ(selectionCount(2), "2 devices selected");
  EXPECT_EQ(selectionCount(12), "12 devices selected");
  EXPECT_EQ(presentSections({.selectedCount = 2}, now)[0].summary, "2 devices selected");
}

TEST(SettingsPresentation, sumsUpThePeer) {
  const auto registered = peerHeardOf(Seconds(44.9));
  const auto late = peerHeardOf(Seconds(45.0));
  EXPECT_EQ(presentSections({.peer = &registered}, now)[1].summary, "Studio, reachable, ID AB12CD");
  EXPECT_EQ(presentSections({.peer = &late}, now)[1].summary, "Studio, waiting, ID AB12CD");
  EXPECT_EQ(presentSections({.discoveredCount = 1}, now)[1].summary, "1 Mac found");
  EXPECT_EQ(presentSections({.discoveredCount = 3}, now)[1].summary, "3 Macs found");
}

TEST(SettingsPresentation, sumsUpThePreferencesByAutomaticSwitching) {
  EXPECT_EQ(presentSections({.autoConnect = true}, now)[2].summary, "Auto-switch on");
  EXPECT_EQ(presentSections({.autoConnect = false}, now)[2].summary, "Auto-switch off");
}

TEST(SettingsPresentation, endsWithSaveAndUninstall) {
  const SettingsFrame frame;
  EXPECT_EQ(frame.title, "Settings");
  EXPECT_EQ(frame.backSymbol.name(), "chevron.left");
  EXPECT_EQ(frame.save, "Save");
  EXPECT_EQ(frame.uninstall, "Uninstall");
  EXPECT_EQ(frame.uninstallTint, Colour::red);
}

TEST(PeerSectionPresentation, searchesWhileNothingIsFound) {
  const auto section = presentPeerSection(nullptr, {}, now);
  EXPECT_EQ(section.searching, "Searching for peer...");
  EXPECT_TRUE(section.discovered.empty());
  EXPECT_FALSE(section.registered);
}

TEST(PeerSectionPresentation, listsWhatIsFoundToBeAdded) {
  auto other = peerHeardOf(Seconds(45.0));
  other.id = other.name = "F00F00";
  const std::vector<NetworkDevice> found{peerHeardOf(Seconds(44.9)), other};
  const auto section = presentPeerSection(nullptr, found, now);
  const std::vector<PeerRow> expected{
      {"ab12-cd34-ef", "Studio", Colour::green, "ID AB12CD", "Add", true, Colour::accent},
      {"F00F00", "F00F00", Colour::gray, "192.0.2.7", "Add", true, Colour::accent},
  };
  EXPECT_EQ(section.discovered, expected);
  EXPECT_EQ(section.searching, "");
  EXPECT_FALSE(section.registered);
}

TEST(PeerSectionPresentation, showsOnlyTheRegisteredPeerOnceThereIsOne) {
  const auto registered = peerHeardOf(Seconds(44.9));
  const std::vector<NetworkDevice> found{peerHeardOf(Seconds(1))};
  const auto section = presentPeerSection(&registered, found, now);
  EXPECT_EQ(section.registered, (PeerRow{"ab12-cd34-ef", "Studio", Colour::green, "Studio, reachable, ID AB12CD",
                                         "Remove", false, Colour::red}));
  EXPECT_EQ(section.searching, "");
  EXPECT_TRUE(section.discovered.empty());
}

TEST(PeerSectionPresentation, showsARegisteredPeerThatIsAwayInGray) {
  const auto registered = peerHeardOf(Seconds(45.0));
  const auto section = presentPeerSection(&registered, {}, now);
  ASSERT_TRUE(section.registered);
  EXPECT_EQ(section.registered->dot, Colour::gray);
  EXPECT_EQ(section.registered->detail, "Studio, waiting, ID AB12CD");
}

TEST(SetupPresentation, asksForDevicesFirst) {
  for (const bool hasPeer : {true, false})
    EXPECT_EQ(presentSetup(0, hasPeer),
              (SetupPresentation{"Select at least one device to finish setup.", SettingsSection::devices}));
}

TEST(SetupPresentation, asksForThePeerNext) {
  for (const std::size_t selected : {1u, 2u}) {
    EXPECT_EQ(presentSetup(selected, false),
              (SetupPresentation{"Add your peer Mac to finish setup.", SettingsSection::peer}));
    EXPECT_FALSE(presentSetup(selected, false).isComplete());
  }
}

TEST(SetupPresentation, asksForNothingWhenItIsComplete) {
  for (const std::size_t selected : {1u, 2u}) {
    EXPECT_EQ(presentSetup(selected, true), (SetupPresentation{"", std::nullopt}));
    EXPECT_TRUE(presentSetup(selected, true).isComplete());
  }
}

TEST(AlertPresentation, warnsBeforeThePeerIsRemoved) {
  EXPECT_EQ(removePeerAlert,
            (AlertPresentation{"Remove Peer Mac?", "You will need to add a peer Mac before saving this setup.",
                               "Cancel", "Remove"}));
}

TEST(AlertPresentation, warnsBeforeTheProgramIsRemoved) {
  EXPECT_EQ(uninstallAlert,
            (AlertPresentation{"Uninstall Zolvex?",
                               "This removes the app, launch at login, saved devices, peer settings, and permissions.",
                               "Cancel", "Uninstall"}));
}

}  // namespace
}  // namespace zolvex::test
