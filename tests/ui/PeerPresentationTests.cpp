#include "ui/PeerPresentation.h"
#include "ui/PresentationPrinting.h"
#include "ui/PresentationValues.h"

#include <gtest/gtest.h>

namespace zolvex::test {
namespace {

PeerStatusPresentation statusOf(const NetworkDevice& peer) {
  return presentPeerStatus(&peer, now);
}

std::string labelOf(const std::string& id, const std::string& name, const std::optional<std::string>& host) {
  NetworkDevice peer;
  peer.id = id;
  peer.name = name;
  peer.host = host;
  return peerLabel(peer);
}

const PeerStatusPresentation reachable{Colour::green, "Peer reachable, ID AB12CD"};
const PeerStatusPresentation waiting{Colour::gray, "Peer waiting, ID AB12CD"};

TEST(PeerPresentation, saysWhenNoPeerWasAdded) {
  EXPECT_EQ(presentPeerStatus(nullptr, now), (PeerStatusPresentation{Colour::gray, "No peer added"}));
}

TEST(PeerPresentation, takesAPeerAsReachableForLessThan45Seconds) {
  EXPECT_EQ(statusOf(peerHeardOf(Seconds(0))), reachable);
  EXPECT_EQ(statusOf(peerHeardOf(Seconds(44.9))), reachable);
  EXPECT_EQ(statusOf(peerHeardOf(Seconds(45.0))), waiting);
  EXPECT_EQ(statusOf(peerHeardOf(Seconds(45.1))), waiting);
}

TEST(PeerPresentation, waitsForAPeerThatIsNotActive) {
  auto peer = peerHeardOf(Seconds(1));
  peer.isActive = false;
  EXPECT_EQ(statusOf(peer), waiting);
}

TEST(PeerPresentation, waitsForAPeerThatWasNeverReached) {
  auto peer = peerHeardOf(Seconds(1));
  peer.lastReachableAt.reset();
  EXPECT_EQ(statusOf(peer), waiting);
}

TEST(PeerPresentation, labelsAPeerByItsHostWhenItsNameIsItsIdentifier) {
  EXPECT_EQ(labelOf("A1B2C3", "A1B2C3", "192.0.2.7"), "192.0.2.7");
  EXPECT_EQ(labelOf("A1B2C3", "A1B2C3", std::nullopt), "ID A1B2C3");
  EXPECT_EQ(labelOf("A1B2C3", "a1b2c3", "192.0.2.7"), "ID A1B2C3");
  EXPECT_EQ(labelOf("A1B2C3", "Studio", "192.0.2.7"), "ID A1B2C3");
  EXPECT_EQ(labelOf("A1B2C3", "Studio", std::nullopt), "ID A1B2C3");
}

TEST(PeerPresentation, labelsAPeerByTheFirstSixCharactersOfItsIdentifier) {
  EXPECT_EQ(labelOf("ab12-cd34-ef", "Studio", std::nullopt), "ID AB12CD");
  EXPECT_EQ(labelOf("abcdefg", "Studio", std::nullopt), "ID ABCDEF");
  EXPECT_EQ(labelOf("abcdef", "Studio", std::nullopt), "ID ABCDEF");
  EXPECT_EQ(labelOf("abcde", "Studio", std::nullopt), "ID ABCDE");
  EXPECT_EQ(labelOf("", "Studio", std::nullopt), "ID ");
}

TEST(PeerPresentation, cleansTheIdentifierBeforeItCutsIt) {
  EXPECT_EQ(labelOf(" \n-- ab-12 \t-", "Studio", std::nullopt), "ID AB12");
  EXPECT_EQ(labelOf("a b-c", "Studio", std::nullopt), "ID A BC");
  EXPECT_EQ(labelOf("\u00e4\u00f6\u00fc\u00e4\u00f6\u00fcx", "Studio", std::nullopt),
            "ID \u00e4\u00f6\u00fc\u00e4\u00f6\u00fc");
}

TEST(PeerPresentation, sumsUpTheRegisteredPeerWhateverElseIsFound) {
  const auto peer = peerHeardOf(Seconds(44.9));
  const auto late = peerHeardOf(Seconds(45.0));
  for (const std::size_t found : {0u, 1u, 3u}) {
    EXPECT_EQ(peerSummary(&peer, found, now), "Studio, reachable, ID AB12CD");
    EXPECT_EQ(peerSummary(&late, found, now), "Studio, waiting, ID AB12CD");
  }
}

TEST(PeerPresentation, sumsUpAPeerThatHasOnlyItsIdentifierByItsHost) {
  auto peer = peerHeardOf(Seconds(1));
  peer.name = peer.id;
  EXPECT_EQ(peerSummary(&peer, 0, now), "ab12-cd34-ef, reachable, 192.0.2.7");
}

TEST(PeerPresentation, countsThePeersThatAreSeenWhileNoneIsRegistered) {
  EXPECT_EQ(peerSummary(nullptr, 0, now), "Searching");
  EXPECT_EQ(peerSummary(nullptr, 1, now), "1 Mac found");
  EXPECT_EQ(peerSummary(nullptr, 2, now), "2 Macs found");
  EXPECT_EQ(peerSummary(nullptr, 3, now), "3 Macs found");
  EXPECT_EQ(peerSummary(nullptr, 12, now), "12 Macs found");
}

}  // namespace
}  // namespace zolvex::test
