#include "core/SettingsKeys.h"
#include "peer/bonjour/BonjourTransport.h"
#include "peer/bonjour/FakeDnsSd.h"
#include "peer/bonjour/FakeTransportDelegate.h"
#include "peer/bonjour/RawSocket.h"
#include "support/LogCapture.h"
#include "support/MemoryUserDefaults.h"
#include "support/ThreadMainQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

namespace zolvex {
namespace {

using test::ask;
using test::frame;
using test::patience;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class FakeHostName final : public LocalHostName {
 public:
  std::optional<std::string> localizedName() const override { return localized; }
  std::optional<std::string> name() const override { return plain; }
  std::optional<std::string> localized = " Anna's Laptop\n";
  std::optional<std::string> plain = "anna";
};

/// The transport with real TCP on loopback and a DNS-SD service that the test plays.
class BonjourTransportTest : public testing::Test {
 protected:
  BonjourTransportTest() {
    defaults.set(settings::peerIdentityID, std::string("abc-123def"));
    onMain([&] { transport.emplace(mainQueue, network, publisher, browser, defaults, hostName); });
  }
  ~BonjourTransportTest() override {
    onMain([&] { transport.reset(); });
  }

  void onMain(const std::function<void()>& work) { mainQueue.run(work); }

  /// Starts and waits for the publication.
  std::uint16_t start() {
    onMain([&] { transport->start(delegate); });
    const auto end = std::chrono::steady_clock::now() + patience;
    std::uint16_t port = 0;
    while (port == 0 && std::chrono::steady_clock::now() < end)
      onMain([&] { port = publisher.service ? publisher.service->port : std::uint16_t{0}; });
    EXPECT_NE(port, 0);
    return port;
  }
  void stop() {
    onMain([&] { transport->stop(); });
  }

  PeerReply send(const NetworkDevice& peer) {
    std::promise<PeerReply> done;
    onMain([&] {
      transport->send(peer, DeviceCommand::healthCheck, [&](const PeerReply& reply) { done.set_value(reply); });
    });
    return done.get_future().get();
  }

  static NetworkDevice peerAt(std::uint16_t port) {
    NetworkDevice peer;
    peer.host = "127.0.0.1";
    peer.port = port;
    return peer;
  }

  test::LogCapture log;
  test::ThreadMainQueue mainQueue;
  NetworkThread network;
  test::FakeServicePublisher publisher;
  test::FakeServiceBrowser browser;
  test::MemoryUserDefaults defaults;
  FakeHostName hostName;
  test::FakeTransportDelegate delegate;
  std::optional<BonjourTransport> transport;
};

TEST_F(BonjourTransportTest, publishesItsPortAndBrowses) {
  const auto port = start();
  EXPECT_EQ(publisher.service->name, "Zolvex-ABC123");
  EXPECT_EQ(publisher.service->type, "_zolvex._tcp.");
  EXPECT_EQ(publisher.service->domain, "local.");
  EXPECT_THAT(publisher.service->txtRecord, ElementsAre(Pair("id", "abc-123def"), Pair("name", "Anna's Laptop")));
  EXPECT_EQ(browser.type, "_zolvex._tcp.");
  EXPECT_EQ(browser.domain, "local.");
  EXPECT_EQ(log.lines().front(), "Starting Bonjour transport");
  EXPECT_TRUE(log.contains("Listener ready: Port " + std::to_string(port)));
}

TEST_F(BonjourTransportTest, computerWithoutALocalizedNameIsPublishedUnderItsPlainOne) {
  hostName.localized.reset();
  start();
  EXPECT_EQ(publisher.service->txtRecord.at("name"), "anna");
}

TEST_F(BonjourTransportTest, computerWithoutAnyNameIsPublished) {
  hostName.localized.reset();
  hostName.plain.reset();
  start();
  EXPECT_EQ(publisher.service->txtRecord.at("name"), "");
}

TEST_F(BonjourTransportTest, aNameThatComesLaterIsPublishedWithoutANewPublication) {
  hostName.localized.reset();
  start();
  onMain([&] {
    hostName.localized = "Anna's Laptop";
    hostName.changed.emit();
    EXPECT_EQ(publisher.service->txtRecord.at("name"), "Anna's Laptop");
    EXPECT_EQ(publisher.service->txtRecord.at("id"), "abc-123def");
    EXPECT_EQ(publisher.publications, 1);
  });
}

TEST_F(BonjourTransportTest, receivedCommandReachesTheDelegate) {
  EXPECT_EQ(ask(start(), frame("HEALTH_CHECK")), frame("OP_SUCCESS"));
  onMain([&] { EXPECT_THAT(delegate.received, ElementsAre("HEALTH_CHECK")); });
}

TEST_F(BonjourTransportTest, twoTransportsTalk) {
  EXPECT_EQ(send(peerAt(start())), (PeerReply{DeviceCommand::operationSuccess, std::nullopt}));
}

TEST_F(BonjourTransportTest, sendsWhileStopped) {
  const auto port = start();
  std::optional<BonjourTransport> other;
  onMain([&] { other.emplace(mainQueue, network, publisher, browser, defaults, hostName); });
  std::promise<PeerReply> done;
  onMain([&] {
    other->send(peerAt(port), DeviceCommand::healthCheck, [&](const PeerReply& reply) { done.set_value(reply); });
  });
  EXPECT_TRUE(done.get_future().get().succeeded());
  onMain([&] { other.reset(); });
}

TEST_F(BonjourTransportTest, requestsUnderWayCanBeEnded) {
  for (const auto* text : {"Command HEALTH_CHECK timed out", "Command HEALTH_CHECK timed out"}) log.expectError(text);
  std::promise<void> ended;
  const auto isHeld = ended.get_future().share();
  const auto sayNothing = [isHeld](test::RawSocket&) { isHeld.wait(); };
  test::RawServer first(sayNothing);
  test::RawServer second(sayNothing);
  std::promise<void> bothDone;
  int done = 0;
  const auto completion = [&](const PeerReply& reply) {
    EXPECT_EQ(reply, PeerReply::failed("timeout"));
    if (++done == 2) bothDone.set_value();
  };
  onMain([&] {
    for (const auto port : {first.port(), second.port()})
      transport->send(peerAt(port), DeviceCommand::healthCheck, completion);
    transport->timeOutRequests();
  });
  EXPECT_EQ(bothDone.get_future().wait_for(patience / 4), std::future_status::ready);  // half of what they may take
  ended.set_value();
}

TEST_F(BonjourTransportTest, peerWithoutHostOrPortFailsWithoutAText) {
  log.expectError("Peer device has no host/port");
  auto peer = peerAt(1);
  peer.host.reset();
  EXPECT_EQ(send(peer), PeerReply::failed());
  peer = peerAt(1);
  peer.port.reset();
  EXPECT_EQ(send(peer), PeerReply::failed());
  EXPECT_EQ(log.count("Peer device has no host/port"), 2);
}

TEST_F(BonjourTransportTest, stoppingUnpublishesAndNothingIsHeardAnyMore) {
  const auto port = start();
  stop();
  onMain([&] {
    EXPECT_EQ(publisher.listener, nullptr);
    EXPECT_EQ(browser.listener, nullptr);
  });
  EXPECT_EQ(ask(port, frame("HEALTH_CHECK")), std::nullopt);
  onMain([&] { EXPECT_THAT(delegate.received, IsEmpty()); });
}

TEST_F(BonjourTransportTest, stoppedBeforeTheListenerIsReadyNothingIsPublished) {
  onMain([&] {
    transport->start(delegate);
    transport->stop();
  });
  stop();  // and once more
  onMain([&] { EXPECT_EQ(publisher.publications, 0); });
}

TEST_F(BonjourTransportTest, startedAgainItPublishesItsNewPort) {
  start();
  stop();
  const auto port = start();
  EXPECT_EQ(publisher.publications, 2);
  EXPECT_EQ(ask(port, frame("HEALTH_CHECK")), frame("OP_SUCCESS"));
}

TEST_F(BonjourTransportTest, replyAfterStoppingStillReachesTheRequester) {
  delegate.answer.reset();
  const auto port = start();
  auto reply = std::async(std::launch::async, [port] { return ask(port, frame("HEALTH_CHECK")); });
  bool waiting = false;
  while (!waiting) onMain([&] { waiting = !delegate.channels.empty(); });
  stop();
  onMain([&] { delegate.channels.front()->reply(DeviceCommand::operationSuccess); });
  EXPECT_EQ(reply.get(), frame("OP_SUCCESS"));
}

TEST_F(BonjourTransportTest, discoveryReachesTheDelegateAndLeavesOutOurselves) {
  start();
  onMain([&] {
    publisher.listener->servicePublished("Zolvex-ABC123 #2");
    browser.listener->serviceFound("Zolvex-ABC123 #2", true);
    browser.listener->serviceFound("Zolvex-FEDCBA", false);
    browser.listener->serviceResolved("Zolvex-FEDCBA", {"192.168.1.7"}, 4711);
    EXPECT_THAT(browser.resolving, ElementsAre("Zolvex-FEDCBA"));
    transport->reportDiscoveredAgain();
    ASSERT_EQ(delegate.discovered.size(), 2u);
    EXPECT_EQ(delegate.discovered.back().id, "FEDCBA");
  });
}

TEST_F(BonjourTransportTest, ourOwnServiceIsLeftOutAfterItLostItsName) {
  start();
  onMain([&] {
    publisher.listener->servicePublished("Zolvex-ABC123 #2");
    publisher.listener->servicePublicationLost();
    browser.listener->serviceFound("Zolvex-ABC123", true);
    EXPECT_THAT(browser.resolving, IsEmpty());
  });
}

}  // namespace
}  // namespace zolvex
