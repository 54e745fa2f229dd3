#include "peer/bonjour/FakeDnsSd.h"
#include "peer/bonjour/FakeTransportDelegate.h"
#include "peer/bonjour/ServiceBrowserDelegate.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zolvex {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(PeerIdFromServiceName, isTheUpperCasedPieceAfterThePrefix) {
  EXPECT_EQ(peerIdFromServiceName("Zolvex-ABC123"), "ABC123");
  EXPECT_EQ(peerIdFromServiceName("Zolvex-abc12f"), "ABC12F");
}

TEST(PeerIdFromServiceName, leavesOutTheCollisionSuffix) {
  EXPECT_EQ(peerIdFromServiceName("Zolvex-ABC123 #2"), "ABC123");
  EXPECT_EQ(peerIdFromServiceName("Zolvex-ABC123 #17"), "ABC123");
}

TEST(PeerIdFromServiceName, keepsWhatOnlyLooksLikeACollisionSuffix) {
  EXPECT_EQ(peerIdFromServiceName("Zolvex-ABC123#2"), "ABC123#2");
  EXPECT_EQ(peerIdFromServiceName("Zolvex-ABC123 #"), "ABC123 #");
  EXPECT_EQ(peerIdFromServiceName("Zolvex-ABC123 #2b"), "ABC123 #2B");
}

TEST(PeerIdFromServiceName, isNoneForOtherNames) {
  EXPECT_EQ(peerIdFromServiceName(""), std::nullopt);
  EXPECT_EQ(peerIdFromServiceName("Zolvex-"), std::nullopt);
  EXPECT_EQ(peerIdFromServiceName("Zolvex- #2"), std::nullopt);
  EXPECT_EQ(peerIdFromServiceName("zolvex-ABC123"), std::nullopt);
  EXPECT_EQ(peerIdFromServiceName("Printer"), std::nullopt);
}

class ServiceBrowserDelegateTest : public testing::Test {
 protected:
  std::vector<std::string> discoveredIds() const {
    std::vector<std::string> ids;
    for (const auto& device : store.discovered) ids.push_back(device.id);
    return ids;
  }

  test::LogCapture log;
  test::VirtualTime time;
  test::FakeServiceBrowser browser;
  test::FakeTransportDelegate store;
  ServiceBrowserDelegate delegate{browser, time, store};
};

TEST_F(ServiceBrowserDelegateTest, foundServiceIsResolvedWithinFiveSeconds) {
  delegate.serviceFound("Zolvex-ABC123", false);
  EXPECT_THAT(browser.resolving, ElementsAre("Zolvex-ABC123"));
  EXPECT_EQ(browser.lastLimit, Seconds(5.0));
  EXPECT_THAT(log.lines(), ElementsAre("Service discovered: Zolvex-ABC123"));
  EXPECT_THAT(store.discovered, IsEmpty());
}

TEST_F(ServiceBrowserDelegateTest, resolvedServiceBecomesAFreshReachableRecord) {
  delegate.serviceFound("Zolvex-abc123 #2", false);
  time.advance(Seconds(1.0));
  delegate.serviceResolved("Zolvex-abc123 #2", {"192.168.1.7", "fe80::7%eth0"}, 4711);
  const NetworkDevice expected{"ABC123", "ABC123", "192.168.1.7", 4711, time.now(), true, time.now()};
  EXPECT_THAT(store.discovered, ElementsAre(expected));
  EXPECT_EQ(log.lines().back(), "Bonjour peer resolved");
}

TEST_F(ServiceBrowserDelegateTest, serviceThatMovesIsReportedWithItsNewAddress) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.8"}, 4712);
  ASSERT_EQ(store.discovered.size(), 2u);
  EXPECT_EQ(store.discovered.back().host, "192.168.1.8");
  EXPECT_EQ(store.discovered.back().port, 4712);
}

TEST_F(ServiceBrowserDelegateTest, removedServiceIsLostByItsId) {
  delegate.serviceFound("Zolvex-abc123", false);
  delegate.serviceResolved("Zolvex-abc123", {"192.168.1.7"}, 4711);
  delegate.serviceRemoved("Zolvex-abc123");
  EXPECT_THAT(store.lost, ElementsAre("ABC123"));
  EXPECT_EQ(log.lines().back(), "Service removed: Zolvex-abc123");
}

TEST_F(ServiceBrowserDelegateTest, removedServiceThatWasNeverResolvedIsLostByItsName) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceRemoved("Zolvex-ABC123");
  EXPECT_THAT(store.lost, ElementsAre("Zolvex-ABC123"));
}

TEST_F(ServiceBrowserDelegateTest, anIdIsForgottenWithItsService) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  delegate.serviceRemoved("Zolvex-ABC123");
  delegate.serviceRemoved("Zolvex-ABC123");
  EXPECT_THAT(store.lost, ElementsAre("ABC123", "Zolvex-ABC123"));
}

TEST_F(ServiceBrowserDelegateTest, aServiceThatRemainsTakesTheIdBackFromOneThatWent) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  delegate.serviceFound("Zolvex-ABC123 #2", false);
  delegate.serviceResolved("Zolvex-ABC123 #2", {"192.168.1.8"}, 9999);
  delegate.serviceRemoved("Zolvex-ABC123 #2");
  ASSERT_EQ(discoveredIds(), (std::vector<std::string>{"ABC123", "ABC123", "ABC123"}));
  EXPECT_EQ(store.discovered.back().port, 4711);
  EXPECT_THAT(store.lost, IsEmpty());
  delegate.serviceRemoved("Zolvex-ABC123");
  EXPECT_THAT(store.lost, ElementsAre("ABC123"));
}

TEST_F(ServiceBrowserDelegateTest, lateAnswerForARemovedServiceIsIgnored) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceRemoved("Zolvex-ABC123");
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  EXPECT_THAT(store.discovered, IsEmpty());
}

TEST_F(ServiceBrowserDelegateTest, serviceWithoutAnAddressGivesNoRecord) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceResolved("Zolvex-ABC123", {}, 4711);
  EXPECT_THAT(store.discovered, IsEmpty());
}

TEST_F(ServiceBrowserDelegateTest, serviceOfAnotherNameFormIsNotEvenResolved) {
  delegate.serviceFound("Printer", false);
  delegate.serviceResolved("Printer", {"192.168.1.7"}, 4711);
  EXPECT_THAT(browser.resolving, IsEmpty());
  EXPECT_THAT(store.discovered, IsEmpty());
}

TEST_F(ServiceBrowserDelegateTest, ourOwnServiceIsNeverListed) {
  delegate.setOwnName("Zolvex-ABC123");
  delegate.serviceFound("Zolvex-ABC123", true);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  EXPECT_THAT(browser.resolving, IsEmpty());
  EXPECT_THAT(store.discovered, IsEmpty());
}

TEST_F(ServiceBrowserDelegateTest, ourOwnServiceFoundBeforeItsNameIsKnownIsNotListed) {
  delegate.serviceFound("Zolvex-ABC123", true);
  delegate.setOwnName("Zolvex-ABC123");
  EXPECT_THAT(browser.resolving, IsEmpty());
}

TEST_F(ServiceBrowserDelegateTest, aServiceOfTheNameWeWantedButDidNotGetIsListed) {
  delegate.serviceFound("Zolvex-ABC123", true);  // looked like ours while ours was being registered
  delegate.setOwnName("Zolvex-ABC123 #2");
  delegate.serviceFound("Zolvex-ABC123 #2", true);
  EXPECT_THAT(browser.resolving, ElementsAre("Zolvex-ABC123"));
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  EXPECT_THAT(discoveredIds(), ElementsAre("ABC123"));
}

TEST_F(ServiceBrowserDelegateTest, aServiceWhoseNameBecomesOursIsOursFromThenOn) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  delegate.setOwnName("Zolvex-ABC123");  // the other one gave way
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.2"}, 4712);
  EXPECT_THAT(store.discovered, SizeIs(1));
  store.discovered.clear();
  delegate.reportDiscoveredAgain();
  EXPECT_THAT(store.discovered, IsEmpty());
}

TEST_F(ServiceBrowserDelegateTest, aServiceThatHadOurNameIsListedWhenWeGetAnother) {
  delegate.setOwnName("Zolvex-ABC123");
  delegate.serviceFound("Zolvex-ABC123", false);
  EXPECT_THAT(browser.resolving, IsEmpty());
  delegate.setOwnName("Zolvex-ABC123 #2");
  EXPECT_THAT(browser.resolving, ElementsAre("Zolvex-ABC123"));
}

TEST_F(ServiceBrowserDelegateTest, aPeerWhoseNameBecomesOursIsLost) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  delegate.setOwnName("Zolvex-ABC123");
  EXPECT_THAT(store.lost, ElementsAre("ABC123"));
}

TEST_F(ServiceBrowserDelegateTest, aPeerThatGaveItsNameToUsAndHasAnotherByNowIsReportedThere) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  delegate.serviceFound("Zolvex-ABC123 #2", false);
  delegate.serviceResolved("Zolvex-ABC123 #2", {"192.168.1.7"}, 4712);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.2"}, 9999);  // that is us already
  delegate.setOwnName("Zolvex-ABC123");
  EXPECT_EQ(store.discovered.back().port, 4712);
  EXPECT_THAT(store.lost, IsEmpty());
}

TEST_F(ServiceBrowserDelegateTest, aPeerThatTakesItsNameBackIsLookedUpAnew) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  delegate.setOwnName("Zolvex-ABC123");
  delegate.setOwnName(std::nullopt);
  delegate.setOwnName("Zolvex-ABC123 #2");
  EXPECT_THAT(browser.resolving, ElementsAre("Zolvex-ABC123", "Zolvex-ABC123"));
}

// The system's DNS-SD service has restarted, and our publication with it, under another name than before.
TEST_F(ServiceBrowserDelegateTest, ourOwnServiceThatComesBackUnderThePeersNameIsNotListed) {
  delegate.serviceFound("Zolvex-ABC123", false);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.7"}, 4711);
  delegate.setOwnName("Zolvex-ABC123 #2");
  delegate.setOwnName(std::nullopt);
  delegate.serviceFound("Zolvex-ABC123", true);
  delegate.serviceResolved("Zolvex-ABC123", {"192.168.1.2"}, 9999);
  delegate.setOwnName("Zolvex-ABC123");
  EXPECT_THAT(browser.resolving, SizeIs(1));
  EXPECT_THAT(discoveredIds(), ElementsAre("ABC123"));
  EXPECT_THAT(store.lost, ElementsAre("ABC123"));
}

TEST_F(ServiceBrowserDelegateTest, everyResolvedServiceIsReportedAgainAsOfNow) {
  delegate.serviceFound("Zolvex-AAAAAA", false);
  delegate.serviceFound("Zolvex-BBBBBB", false);
  delegate.serviceFound("Zolvex-CCCCCC", false);
  delegate.serviceResolved("Zolvex-AAAAAA", {"192.168.1.7"}, 1);
  delegate.serviceResolved("Zolvex-BBBBBB", {"192.168.1.8"}, 2);
  store.discovered.clear();
  time.advance(Seconds(100.0));
  delegate.reportDiscoveredAgain();
  EXPECT_THAT(discoveredIds(), ElementsAre("AAAAAA", "BBBBBB"));
  EXPECT_EQ(store.discovered.front().lastReachableAt, time.now());
}

TEST_F(ServiceBrowserDelegateTest, namesFromTheNetworkAreEscapedInTheLog) {
  delegate.serviceFound("Zolvex-A\nB", false);
  EXPECT_TRUE(log.contains("Service discovered: Zolvex-A\\x0aB"));
}

}  // namespace
}  // namespace zolvex
