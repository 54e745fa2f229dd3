#include "core/SettingsKeys.h"
#include "peer/PeerIdentity.h"
#include "support/MemoryUserDefaults.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zolvex::test {
namespace {

bool isFresh(const std::string& identity) {
  return identity.size() == 32 && std::all_of(identity.begin(), identity.end(),
                                              [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); });
}

struct PeerIdentityTest : testing::Test {
  MemoryUserDefaults defaults;
};

TEST_F(PeerIdentityTest, isMadeAtFirstUseAndStored) {
  const auto identity = peerIdentity(defaults);
  EXPECT_PRED1(isFresh, identity);
  EXPECT_EQ(defaults.string(settings::peerIdentityID), identity);
}

TEST_F(PeerIdentityTest, neverChangesAfterwards) {
  const auto identity = peerIdentity(defaults);
  EXPECT_EQ(peerIdentity(defaults), identity);
}

TEST_F(PeerIdentityTest, differsBetweenComputers) {
  MemoryUserDefaults other;
  EXPECT_NE(peerIdentity(defaults), peerIdentity(other));
}

TEST_F(PeerIdentityTest, aStoredTextIsTakenAsItStands) {
  defaults.set(settings::peerIdentityID, " my-identity ");
  EXPECT_EQ(peerIdentity(defaults), " my-identity ");
}

TEST_F(PeerIdentityTest, aStoredTextOfSpacesIsReplaced) {
  defaults.set(settings::peerIdentityID, " \n\t ");
  const auto identity = peerIdentity(defaults);
  EXPECT_PRED1(isFresh, identity);
  EXPECT_EQ(defaults.string(settings::peerIdentityID), identity);
}

TEST_F(PeerIdentityTest, aStoredValueOfAnotherTypeIsReplaced) {
  defaults.set(settings::peerIdentityID, 42.0);
  EXPECT_PRED1(isFresh, peerIdentity(defaults));
}

TEST(ShortIdentity, isTheFirstSixCharactersInUpperCase) {
  EXPECT_EQ(shortIdentity("a1b2c3d4e5f6"), "A1B2C3");
}

TEST(ShortIdentity, hyphensAndWhiteSpaceAroundDoNotCount) {
  EXPECT_EQ(shortIdentity(" a1-b2-c3-d4\n"), "A1B2C3");
  EXPECT_EQ(shortIdentity("- a1b2c3d4"), "A1B2C3");
}

TEST(ShortIdentity, isTheWholeOfAShorterOne) {
  EXPECT_EQ(shortIdentity("ab"), "AB");
  EXPECT_EQ(shortIdentity(""), "");
}

TEST(PeerServiceName, computersWhoseIdentitiesBeginAlikeShareOne) {
  EXPECT_EQ(peerServiceName("a1b2-c3d4"), "Zolvex-A1B2C3");
  EXPECT_EQ(peerServiceName("A1B2C3FF"), peerServiceName("a1b2c300"));
}

}  // namespace
}  // namespace zolvex::test
