#include "peer/bonjour/ListenerFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <vector>

namespace zolvex {
namespace {

using test::ask;
using test::healthCheckFrame;
using test::ProcessorUse;
using test::RawSocket;
using test::residentMemory;
using test::successFrame;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t manyConnections = 1000;
constexpr std::size_t tolerableGrowth = 32 << 20;  // bytes; the sanitizers keep some of what is freed

constexpr int moreThanTheKernelHolds = 32;  // megabytes: what it keeps of one connection for a program that reads none

constexpr std::chrono::seconds none{0};
constexpr std::chrono::minutes aMinute{1};

constexpr auto tooSlow = "Closing a connection that sent no whole frame in time";
constexpr auto tooLong = "Closing a connection that sent too much without a delimiter";
constexpr auto tooMany = "Too many connections: closing the oldest unfinished one";
constexpr auto tooManyCommands = "Too many commands at once: new connections have to wait";
constexpr auto notText = "Dropping a message that is not UTF-8";
constexpr auto tooLate = "Closing a connection that was not answered in time";

/// How many it got rid of.
int sendMegabytes(RawSocket& socket, int wanted) {
  const std::string megabyte(1 << 20, 'x');
  int sent = 0;
  while (sent < wanted && socket.send(megabyte)) ++sent;
  return sent;
}

/// Whatever the others do: a well-behaved peer is answered, and soon.
class HostileInputTest : public test::ListenerFixture {
 protected:
  static constexpr std::chrono::milliseconds soon{100};

  ~HostileInputTest() override { EXPECT_LT(residentMemory(), memoryBefore_ + tolerableGrowth); }

  /// That other programs keep our threads from the processors is not the listener's doing.
  void expectGoodServiceToOthers() {
    const auto before = ProcessorUse::ofThisProcess();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(port(), healthCheckFrame), successFrame);
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(passed - ProcessorUse::ofThisProcess().waitedForOthersSince(before), soon);
  }

 private:
  const std::size_t memoryBefore_ = residentMemory();
};

TEST_F(HostileInputTest, bytesThatComeOneAtATimeAreOneCommand) {
  start();
  auto slow = RawSocket::connectedTo(port());
  for (const char byte : healthCheckFrame) {
    expectGoodServiceToOthers();
    slow.send({&byte, 1});
  }
  EXPECT_EQ(slow.receiveAll(), successFrame);
}

TEST_F(HostileInputTest, hundredMegabytesWithoutADelimiterAreCutOff) {
  log.expectError(tooLong);
  start();
  int refused = 0;
  for (int sent = 0; sent < 100; ++sent) {
    auto flood = RawSocket::connectedTo(port());
    refused += sendMegabytes(flood, moreThanTheKernelHolds) < moreThanTheKernelHolds && flood.isAbandonedByOtherSide();
    if (sent % 10 == 0) expectGoodServiceToOthers();
  }
  EXPECT_EQ(refused, 100);
  EXPECT_EQ(log.count(tooLong), 1);
}

TEST_F(HostileInputTest, aThousandConnectionsThatNeverSpeakMakeRoom) {
  log.expectError(tooMany);
  start({.silence = none});
  std::vector<RawSocket> silent;
  for (std::size_t i = 0; i < manyConnections; ++i) {
    silent.push_back(RawSocket::connectedTo(port()));
    if (i % 100 == 0) expectGoodServiceToOthers();
  }
  expectGoodServiceToOthers();
  const auto mustBeClosed = manyConnections - ListenerLimits{}.connections;
  for (std::size_t i = 0; i < mustBeClosed; ++i) ASSERT_EQ(silent[i].receive(), "") << i;
  EXPECT_EQ(log.count(tooMany), 1);
}

TEST_F(HostileInputTest, theKernelKeepsThoseThatNeverSpeakForAWhile) {
  log.expectError(tooMany);
  log.expectError(tooSlow);
  start({.frame = Seconds(2.0)});
  std::vector<RawSocket> silent;
  for (std::size_t i = 0; i < manyConnections; ++i) {
    silent.push_back(RawSocket::connectedTo(port()));
    if (i % 100 == 0) expectGoodServiceToOthers();
  }
  for (auto& socket : silent) ASSERT_EQ(socket.receive(), "");
  expectGoodServiceToOthers();
}

TEST_F(HostileInputTest, thoseThatHaveNotSpokenYetAreNotDisplaced) {
  start({.connections = 3, .silence = aMinute});
  std::vector<RawSocket> crowd;
  for (int i = 0; i < 100; ++i) crowd.push_back(RawSocket::connectedTo(port()));
  for (auto& socket : crowd) {
    socket.send(healthCheckFrame);
    socket.halfClose();
    EXPECT_EQ(socket.receiveAll(), successFrame);
  }
}

TEST_F(HostileInputTest, aThousandHalfClosedConnectionsAreForgotten) {
  start();
  std::vector<RawSocket> halfClosed;
  for (std::size_t i = 0; i < manyConnections; ++i) {
    halfClosed.push_back(RawSocket::connectedTo(port()));
    halfClosed.back().send("HEALTH");
    halfClosed.back().halfClose();
    ASSERT_EQ(halfClosed.back().receiveAll(), "");
    if (i % 100 == 0) expectGoodServiceToOthers();
  }
}

TEST_F(HostileInputTest, aThousandResetConnectionsAreForgotten) {
  start();
  for (std::size_t i = 0; i < manyConnections; ++i) {
    auto socket = RawSocket::connectedTo(port());
    if (i % 3 == 1) socket.send("HEALTH");
    if (i % 3 == 2) socket.send(healthCheckFrame);
    socket.reset();
    if (i % 100 == 0) expectGoodServiceToOthers();
  }
  expectGoodServiceToOthers();
}

TEST_F(HostileInputTest, junkIsDropped) {
  log.expectError(notText);
  start();
  std::mt19937 random(4711);
  std::uniform_int_distribution<int> byte(0, 255);
  for (int round = 0; round < 500; ++round) {
    std::string junk(1, '\xff');  // no text, wherever the first delimiter is
    for (int i = 0; i < 500; ++i) junk += static_cast<char>(byte(random));
    EXPECT_EQ(ask(port(), junk), std::nullopt);
    if (round % 100 == 0) expectGoodServiceToOthers();
  }
  EXPECT_THAT(received(), testing::Each("HEALTH_CHECK"));
  EXPECT_EQ(log.count(notText), 1);
}

TEST_F(HostileInputTest, silenceEndsTheConnection) {
  log.expectError(tooSlow);
  start({.frame = Seconds(0.2)});
  auto silent = RawSocket::connectedTo(port());
  expectGoodServiceToOthers();
  EXPECT_EQ(silent.receiveAll(), "");
  EXPECT_EQ(log.count(tooSlow), 1);
}

TEST_F(HostileInputTest, drippingBytesDoNotExtendTheLimit) {
  log.expectError(tooSlow);
  start({.frame = Seconds(0.2)});
  auto dripping = RawSocket::connectedTo(port());
  while (dripping.send("x")) expectGoodServiceToOthers();
  EXPECT_THAT(received(), testing::Each("HEALTH_CHECK"));
}

TEST_F(HostileInputTest, theOldestUnfinishedConnectionGoesFirst) {
  log.expectError(tooMany);
  start({.connections = 3, .silence = none}, false);
  auto waiting = RawSocket::connectedTo(port());
  waiting.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(1));
  auto older = RawSocket::connectedTo(port());
  auto newer = RawSocket::connectedTo(port());
  auto newest = RawSocket::connectedTo(port());
  EXPECT_EQ(older.receiveAll(), "");
  newer.send(healthCheckFrame);
  newest.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(3));
  for (int i = 0; i < 3; ++i) answer(DeviceCommand::operationSuccess);
  for (auto* socket : {&waiting, &newer, &newest}) EXPECT_EQ(socket->receiveAll(), successFrame);
}

TEST_F(HostileInputTest, aFrameThatCameWhileTheListenerWasBusyIsNotDisplaced) {
  log.expectError(tooMany);
  log.expectError(tooManyCommands);
  start({.connections = 1, .silence = none}, false);
  auto displaced = RawSocket::connectedTo(port());
  auto asking = RawSocket::connectedTo(port());
  EXPECT_EQ(displaced.receiveAll(), "");  // so the other one was accepted
  auto held = holdUpNetwork();
  const auto newcomer = RawSocket::connectedTo(port());
  asking.send(healthCheckFrame);
  held = {};
  ASSERT_TRUE(waitForLog(tooManyCommands));
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(asking.receiveAll(), successFrame);
}

TEST_F(HostileInputTest, whoComesWhileAllAreBeingAnsweredWaits) {
  log.expectError(tooManyCommands);
  start({.connections = 1}, false);
  auto waiting = RawSocket::connectedTo(port());
  waiting.send(healthCheckFrame);
  waiting.halfClose();
  ASSERT_TRUE(waitForCommands(1));
  auto newcomer = RawSocket::connectedTo(port());
  newcomer.send(healthCheckFrame);
  ASSERT_TRUE(waitForLog(tooManyCommands));
  EXPECT_THAT(received(), ElementsAre("HEALTH_CHECK"));
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(waiting.receiveAll(), successFrame);
  ASSERT_TRUE(waitForCommands(2));
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(newcomer.receiveAll(), successFrame);
}

TEST_F(HostileInputTest, allOfABurstAreAnswered) {
  constexpr std::size_t crowd = 500;
  log.expectError(tooManyCommands);
  start({}, false);
  std::vector<RawSocket> burst;
  for (std::size_t i = 0; i < crowd; ++i) {
    burst.push_back(RawSocket::connectedTo(port()));
    burst.back().send(healthCheckFrame);
    burst.back().halfClose();
  }
  ASSERT_TRUE(waitForLog(tooManyCommands));
  ASSERT_TRUE(waitForCommands(ListenerLimits{}.connections));
  EXPECT_EQ(received().size(), ListenerLimits{}.connections);
  for (std::size_t i = 0; i < crowd; ++i) {
    ASSERT_TRUE(waitForCommands(i + 1));
    answer(DeviceCommand::operationSuccess);
  }
  for (auto& socket : burst) ASSERT_EQ(socket.receiveAll(), successFrame);
}

TEST_F(HostileInputTest, whoWaitsIsHeardWhenTheOthersGoUnanswered) {
  log.expectError(tooManyCommands);
  log.expectError(tooLate);
  start({.connections = 1, .reply = Seconds(0.2)}, false);
  auto first = RawSocket::connectedTo(port());
  auto second = RawSocket::connectedTo(port());
  auto third = RawSocket::connectedTo(port());
  auto held = holdUpNetwork();
  for (auto* socket : {&first, &second, &third}) socket->send(healthCheckFrame);
  held = {};
  ASSERT_TRUE(waitForCommands(3));
  for (auto* socket : {&first, &second, &third}) EXPECT_EQ(socket->receiveAll(), "");
}

TEST_F(HostileInputTest, whoHasWaitedTooLongForAReplyMakesRoom) {
  log.expectError(tooManyCommands);
  log.expectError(tooMany);
  start({.connections = 1, .replyWhenFull = Seconds(0.2), .fullPause = Seconds(0.01)}, false);
  auto first = RawSocket::connectedTo(port());
  auto second = RawSocket::connectedTo(port());
  auto held = holdUpNetwork();
  for (auto* socket : {&first, &second}) socket->send(healthCheckFrame);
  held = {};
  EXPECT_EQ(first.receiveAll(), "");
  ASSERT_TRUE(waitForCommands(2));
  answer(DeviceCommand::operationSuccess);  // too late, and harmless
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(second.receiveAll(), successFrame);
}

TEST_F(HostileInputTest, connectionThatIsNotAnsweredInTimeIsClosed) {
  log.expectError(tooLate);
  start({.reply = Seconds(0.1)}, false);
  auto waiting = RawSocket::connectedTo(port());
  waiting.send(healthCheckFrame);
  EXPECT_EQ(waiting.receiveAll(), "");
  answer(DeviceCommand::operationSuccess);  // too late, and harmless
}

TEST_F(HostileInputTest, requesterThatNeverClosesIsLeft) {
  start({.farewell = Seconds(0.1)});
  auto clinging = RawSocket::connectedTo(port());
  clinging.send(healthCheckFrame);
  EXPECT_EQ(clinging.receiveAll(), successFrame);
  while (clinging.send("x")) expectGoodServiceToOthers();  // fails once the listener has closed
}

TEST_F(HostileInputTest, requestersThatNeverCloseMakeRoom) {
  log.expectError(tooMany);
  start({.farewell = Seconds(60.0)});
  std::vector<RawSocket> clinging;
  for (int i = 0; i < 200; ++i) {
    clinging.push_back(RawSocket::connectedTo(port()));
    clinging.back().send(healthCheckFrame);
    ASSERT_EQ(clinging.back().receive(successFrame.size()), successFrame);
  }
  expectGoodServiceToOthers();
}

TEST_F(HostileInputTest, requesterThatNeverStopsSendingIsLeft) {
  start({.farewell = Seconds(60.0), .farewellBytes = 1 << 20});
  auto talkative = RawSocket::connectedTo(port());
  talkative.send(healthCheckFrame);
  const std::string megabyte(1 << 20, 'x');
  while (talkative.send(megabyte)) expectGoodServiceToOthers();
}

// The one message that is not survived: required of every receiver.
TEST(HostileInputDeathTest, frameWithoutACommandStopsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const auto text : {std::string_view("\0", 1), std::string_view("\n\n\0", 3)}) {
    const auto receive = [text] {
      test::ThreadMainQueue mainQueue;
      NetworkThread network;
      TcpListener::Events events{[text](std::uint16_t port) { ask(port, text); }, [] {}, [](auto&&...) {}};
      const auto listener = std::make_shared<TcpListener>(network, mainQueue, std::move(events));
      listener->open();
      listener->start();
      std::this_thread::sleep_for(std::chrono::seconds(20));
    };
    EXPECT_DEATH(receive(), "fatal Bonjour: Received a frame without a command");
  }
}

}  // namespace
}  // namespace zolvex
