#include "peer/PeerProtocol.h"
#include "peer/bonjour/ListenerFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <vector>

namespace zolvex {
namespace {

using test::ask;
using test::failureFrame;
using test::frame;
using test::healthCheckFrame;
using test::RawSocket;
using test::successFrame;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using TcpListenerTest = test::ListenerFixture;

constexpr std::chrono::minutes aMinute{1};

/// The open descriptors of this process that are sockets at that port.
std::vector<int> descriptorsAt(std::uint16_t port) {
  std::vector<int> found;
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  for (int descriptor = 0; descriptor < static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 4096)); ++descriptor) {
    sockaddr_in6 address{};  // the port is where that of an IPv4 address would be
    socklen_t size = sizeof address;
    if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) continue;
    const auto isInternet = address.sin6_family == AF_INET6 || address.sin6_family == AF_INET;
    if (isInternet && ntohs(address.sin6_port) == port) found.push_back(descriptor);
  }
  return found;
}

TEST(ListenerLimits, areWhatIsPromisedToPeers) {
  EXPECT_EQ(ListenerLimits{}.frame, Seconds(10.0));
  EXPECT_EQ(ListenerLimits{}.connections, 64u);
  EXPECT_GE(ListenerLimits{}.replyWhenFull, peerProtocol::commandTimeout);
}

TEST_F(TcpListenerTest, commandIsHandedOverAndAnswered) {
  start();
  EXPECT_EQ(ask(port(), healthCheckFrame), successFrame);
  EXPECT_THAT(received(), ElementsAre("HEALTH_CHECK"));
  EXPECT_THAT(log.lines(),
              ElementsAre("Listener ready: Port " + std::to_string(port()), "Listener got message (12 bytes)"));
}

TEST_F(TcpListenerTest, bothAddressFamiliesReachIt) {
  start();
  auto socket = RawSocket::connectedTo(port(), "::1");
  if (!socket.isOpen()) GTEST_SKIP() << "no IPv6 on this machine";
  socket.send(healthCheckFrame);
  EXPECT_EQ(socket.receiveAll(), successFrame);
}

TEST_F(TcpListenerTest, programsThatWeStartDoNotGetItsSockets) {
  start({}, false);
  auto socket = RawSocket::connectedTo(port());
  socket.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(1));
  const auto descriptors = descriptorsAt(port());
  EXPECT_THAT(descriptors, SizeIs(2)) << "the listening and the accepted one";
  for (const int descriptor : descriptors) EXPECT_TRUE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(socket.receiveAll(), successFrame);
}

TEST_F(TcpListenerTest, frameSplitOverSeveralReadsIsOneCommand) {
  start();
  auto socket = RawSocket::connectedTo(port());
  for (const auto& piece : {std::string("PLE"), std::string("ASE_RELEASE"), std::string(1, '\0')}) {
    socket.send(piece);
    EXPECT_EQ(ask(port(), healthCheckFrame), successFrame);  // so the listener has seen the piece alone
  }
  EXPECT_EQ(socket.receiveAll(), successFrame);
  EXPECT_THAT(received(), ElementsAre("HEALTH_CHECK", "HEALTH_CHECK", testing::_, testing::_));
  EXPECT_EQ(log.count("Listener got message (14 bytes)"), 1);
}

TEST_F(TcpListenerTest, bytesAfterTheDelimiterAreIgnored) {
  start();
  EXPECT_EQ(ask(port(), frame("RELEASED") + frame("CONNECTED")), successFrame);
  EXPECT_THAT(received(), ElementsAre("RELEASED"));
}

TEST_F(TcpListenerTest, aSecondFrameOnTheConnectionIsNeverRead) {
  start({}, false);
  auto socket = RawSocket::connectedTo(port());
  socket.send(frame("RELEASED"));
  ASSERT_TRUE(waitForCommands(1));
  socket.send(frame("CONNECTED"));
  answer(DeviceCommand::operationSuccess);
  socket.halfClose();
  EXPECT_EQ(socket.receiveAll(), successFrame);
  EXPECT_THAT(received(), ElementsAre("RELEASED"));
}

TEST_F(TcpListenerTest, onlyTheFirstLineThatIsNotEmptyIsTheCommand) {
  start();
  ask(port(), frame("HEALTH_CHECK\n"));
  ask(port(), frame("PLEASE_RELEASE\nof\nall"));
  ask(port(), frame("\n\nCONNECTED\n"));
  EXPECT_THAT(received(), ElementsAre("HEALTH_CHECK", "PLEASE_RELEASE", "CONNECTED"));
}

TEST_F(TcpListenerTest, undecodableMessageIsDroppedWithoutReply) {
  log.expectError("Dropping a message that is not UTF-8");
  start();
  EXPECT_EQ(ask(port(), frame("HEALTH\xff_CHECK")), std::nullopt);
  EXPECT_EQ(ask(port(), frame("\xc3")), std::nullopt);
  EXPECT_THAT(received(), IsEmpty());
  EXPECT_EQ(log.count("Dropping a message that is not UTF-8"), 1);  // once a minute
}

TEST_F(TcpListenerTest, connectionThatEndsBeforeTheDelimiterIsForgotten) {
  start();
  EXPECT_EQ(ask(port(), "HEALTH_CHECK"), std::nullopt);
  EXPECT_THAT(received(), IsEmpty());
}

TEST_F(TcpListenerTest, longestFrameIsTakenAndOneByteMoreIsNot) {
  log.expectError("Closing a connection that sent too much without a delimiter");
  start();
  const std::string longest(peerProtocol::maximumFrameLength, 'x');
  EXPECT_EQ(ask(port(), frame(longest)), successFrame);
  EXPECT_EQ(ask(port(), frame(longest + "x")), std::nullopt);
  EXPECT_THAT(received(), ElementsAre(longest));
}

TEST_F(TcpListenerTest, onlyTheFirstReplyCounts) {
  start({}, false);
  auto socket = RawSocket::connectedTo(port());
  socket.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(1));
  answer(DeviceCommand::operationFailed, 3);
  EXPECT_EQ(socket.receiveAll(), failureFrame);
}

TEST_F(TcpListenerTest, channelDroppedWithoutReplyClosesTheConnection) {
  start({}, false);
  auto socket = RawSocket::connectedTo(port());
  socket.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(1));
  dropChannel();
  EXPECT_EQ(socket.receiveAll(), "");
}

TEST_F(TcpListenerTest, replyReachesARequesterThatHasHalfClosedLongBefore) {
  start({}, false);
  auto socket = RawSocket::connectedTo(port());
  socket.send(healthCheckFrame);
  socket.halfClose();
  ASSERT_TRUE(waitForCommands(1));
  EXPECT_EQ(ask(port(), "x"), std::nullopt);  // the listener has had time to see the end of the stream
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(socket.receiveAll(), successFrame);
}

TEST_F(TcpListenerTest, unreadBytesDoNotDestroyTheReply) {
  start({}, false);
  auto socket = RawSocket::connectedTo(port());
  socket.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(1));
  ASSERT_TRUE(socket.send(std::string(100'000, 'x')));  // stays in the kernel until the reply has gone
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(socket.receiveAll(), successFrame);
}

TEST_F(TcpListenerTest, replyToARequesterThatIsGoneIsHarmless) {
  start({}, false);
  auto socket = RawSocket::connectedTo(port());
  socket.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(1));
  socket.reset();
  answer(DeviceCommand::operationSuccess);
  socket = RawSocket::connectedTo(port());
  socket.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(2));
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(socket.receiveAll(), successFrame);
}

TEST_F(TcpListenerTest, withoutDescriptorsItWaitsAndGoesOn) {
  log.expectError("Cannot accept a connection: ");
  start();
  RawSocket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{static_cast<rlim_t>(socket.descriptor()) + 1, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_TRUE(socket.connect(port()));
  socket.send(healthCheckFrame);
  EXPECT_TRUE(waitForLog("Cannot accept a connection: Too many open files"));
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(socket.receiveAll(), successFrame);
}

TEST_F(TcpListenerTest, cancelledListenerAcceptsNothingMore) {
  start();
  cancelListener();
  ASSERT_TRUE(waitForLog("Listener was cancelled"));
  EXPECT_FALSE(RawSocket::connectedTo(port()).isOpen());
}

TEST_F(TcpListenerTest, cancellingClosesConnectionsWithoutACommand) {
  start();
  auto unfinished = RawSocket::connectedTo(port());
  unfinished.send("HEALTH");
  EXPECT_EQ(ask(port(), healthCheckFrame), successFrame);  // so the other one has been accepted
  cancelListener();
  EXPECT_EQ(unfinished.receiveAll(), "");
}

TEST_F(TcpListenerTest, cancelledListenerHearsNothingOfThoseThatSpeakLater) {
  start({.silence = aMinute});
  auto silent = RawSocket::connectedTo(port());
  cancelListener();
  ASSERT_TRUE(waitForLog("Listener was cancelled"));
  EXPECT_TRUE(silent.isAbandonedByOtherSide());
  EXPECT_THAT(received(), IsEmpty());
}

TEST_F(TcpListenerTest, commandReceivedBeforeCancellingIsStillAnswered) {
  start({}, false);
  auto socket = RawSocket::connectedTo(port());
  socket.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(1));
  cancelListener();
  ASSERT_TRUE(waitForLog("Listener was cancelled"));
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(socket.receiveAll(), successFrame);
}

TEST_F(TcpListenerTest, cancelledListenerHearsNothingOfThoseThatWaitForAPlace) {
  constexpr auto tooManyCommands = "Too many commands at once: new connections have to wait";
  log.expectError(tooManyCommands);
  start({.connections = 1}, false);
  auto answered = RawSocket::connectedTo(port());
  answered.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(1));
  auto waiting = RawSocket::connectedTo(port());
  waiting.send(healthCheckFrame);
  ASSERT_TRUE(waitForLog(tooManyCommands));
  cancelListener();
  EXPECT_EQ(waiting.receiveAll(), "");
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(answered.receiveAll(), successFrame);
  EXPECT_THAT(received(), ElementsAre("HEALTH_CHECK"));
}

TEST_F(TcpListenerTest, replyAfterTheNetworkThreadHasEndedIsHarmless) {
  start({}, false);
  auto socket = RawSocket::connectedTo(port());
  socket.send(healthCheckFrame);
  ASSERT_TRUE(waitForCommands(1));
  shutDown();
  answer(DeviceCommand::operationSuccess);
  EXPECT_EQ(socket.receiveAll(), "");
}

}  // namespace
}  // namespace zolvex
