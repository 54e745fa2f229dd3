#include "peer/bonjour/NetworkThread.h"
#include "peer/bonjour/RawSocket.h"
#include "peer/bonjour/TcpRequest.h"
#include "support/LogCapture.h"
#include "support/ThreadMainQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <sys/socket.h>
#include <thread>

namespace zolvex {

void PrintTo(const PeerReply& reply, std::ostream* out) {
  *out << (reply.command ? rawValueOf(*reply.command) : "no command") << " (" << reply.failure.value_or("") << ")";
}

namespace {

using test::frame;
using test::patience;
using test::RawServer;
using test::RawSocket;
using test::residentMemory;
using testing::ElementsAre;

constexpr Seconds shortLimit{0.2};
constexpr Seconds longLimit{60.0};  // so long that a test that waits for it has failed

const PeerReply success{DeviceCommand::operationSuccess, std::nullopt};

/// A request against a peer that the test plays.
class TcpRequestTest : public testing::Test {
 protected:
  ~TcpRequestTest() override {
    endNetwork();
    mainQueue_.run([] {});
    EXPECT_LE(completions_, 1);
  }

  PeerReply request(std::uint16_t port, Seconds limit = longLimit, const std::string& host = "127.0.0.1",
                    DeviceCommand command = DeviceCommand::healthCheck) {
    send(port, limit, host, command);
    return outcome();
  }

  PeerReply outcome() {
    auto reply = reply_.get_future();
    if (reply.wait_for(patience) == std::future_status::ready) return reply.get();
    ADD_FAILURE() << "the request never completed";
    return {};
  }

  std::weak_ptr<TcpRequest> send(std::uint16_t port, Seconds limit, const std::string& host = "127.0.0.1",
                                 DeviceCommand command = DeviceCommand::healthCheck) {
    const auto completion = [this](const PeerReply& reply) {
      EXPECT_TRUE(mainQueue_.isCurrent());
      if (++completions_ == 1) reply_.set_value(reply);
    };
    std::weak_ptr<TcpRequest> sent;
    mainQueue_.run([&] { sent = TcpRequest::send(*network_, mainQueue_, {host, port}, command, completion, limit); });
    return sent;
  }

  /// A request to a peer that sends these bytes and closes.
  PeerReply requestAnsweredWith(const std::string& bytes) {
    RawServer server([&](RawSocket& socket) {
      socket.receiveAll();
      socket.send(bytes);
    });
    return request(server.port());
  }

  void endNetwork() {
    mainQueue_.run([this] { network_.reset(); });
  }
  int completions() {
    mainQueue_.run([] {});
    return completions_;
  }

  test::LogCapture log;

 private:
  test::ThreadMainQueue mainQueue_;
  std::optional<NetworkThread> network_{std::in_place};
  std::promise<PeerReply> reply_;
  std::atomic<int> completions_ = 0;
};

TEST_F(TcpRequestTest, sendsOneFrameHalfClosesAndReadsTheReply) {
  std::string seen;
  RawServer server([&](RawSocket& socket) {
    seen = socket.receiveAll();  // ends only because the requester half-closes
    socket.send(frame("OP_SUCCESS"));
  });
  EXPECT_EQ(request(server.port(), longLimit, "127.0.0.1", DeviceCommand::pleaseRelease), success);
  EXPECT_EQ(seen, frame("PLEASE_RELEASE"));
  EXPECT_THAT(log.lines(), ElementsAre("Connected to peer, sending PLEASE_RELEASE", "Sent 15 bytes to peer",
                                       "Client got response (10 bytes)"));
}

TEST_F(TcpRequestTest, reachesAPeerOverIpv6) {
  if (!RawSocket(::socket(AF_INET6, SOCK_STREAM, 0)).isOpen()) GTEST_SKIP() << "no IPv6 on this machine";
  RawServer server(
      [](RawSocket& socket) {
        socket.receiveAll();
        socket.send(frame("OP_SUCCESS"));
      },
      "::1");
  EXPECT_EQ(request(server.port(), longLimit, "::1"), success);
}

TEST_F(TcpRequestTest, failedOperationIsReportedWithoutAFailureText) {
  EXPECT_EQ(requestAnsweredWith(frame("OP_FAILED")), PeerReply::failed());
}

TEST_F(TcpRequestTest, replySplitOverSeveralWritesIsOneReply) {
  RawServer server([](RawSocket& socket) {
    socket.receiveAll();  // a close with the request unread would be a reset, and could overtake the reply
    for (const char byte : frame("OP_SUCCESS")) socket.send({&byte, 1});
  });
  EXPECT_EQ(request(server.port()), success);
}

TEST_F(TcpRequestTest, replyWithoutDelimiterIsAcceptedAtTheEndOfTheConnection) {
  EXPECT_EQ(requestAnsweredWith("OP_SUCCESS"), success);
  EXPECT_EQ(log.lines().back(), "Connection ended before delimiter (10 bytes)");
}

TEST_F(TcpRequestTest, bytesAfterTheDelimiterAreIgnored) {
  EXPECT_EQ(requestAnsweredWith(frame("OP_SUCCESS") + frame("OP_FAILED")), success);
}

TEST_F(TcpRequestTest, junkIsQuotedWithItsFirstThirtyCharacters) {
  EXPECT_EQ(requestAnsweredWith(frame(std::string(200, 'j'))), PeerReply::failed("bad_cmd: " + std::string(30, 'j')));
}

TEST_F(TcpRequestTest, replyThatIsNotTextIsNoResponse) {
  EXPECT_EQ(requestAnsweredWith(frame("OP_SUCCESS\xff")), PeerReply::failed("no_response"));
}

TEST_F(TcpRequestTest, aDelimiterAloneIsAReplyThatIsNoCommand) {
  EXPECT_EQ(requestAnsweredWith(frame("")), PeerReply::failed("bad_cmd: "));
}

TEST_F(TcpRequestTest, peerThatClosesAtOnceGivesNoResponse) {
  RawServer server([](RawSocket& socket) {
    socket.receiveAll();
    socket.close();
  });
  EXPECT_EQ(request(server.port()), PeerReply::failed("no_response"));
  EXPECT_EQ(log.lines().back(), "Connection ended before delimiter (0 bytes)");
}

TEST_F(TcpRequestTest, peerThatResetsGivesNoResponse) {
  RawServer server([](RawSocket& socket) {
    socket.receive();
    socket.reset();
  });
  EXPECT_EQ(request(server.port()), PeerReply::failed("no_response"));
}

TEST_F(TcpRequestTest, peerThatHalfClosesWithoutAReplyGivesNoResponse) {
  RawServer server([](RawSocket& socket) {
    socket.halfClose();
    socket.receiveAll();
  });
  EXPECT_EQ(request(server.port()), PeerReply::failed("no_response"));
}

TEST_F(TcpRequestTest, endlessReplyIsCutOff) {
  log.expectError("Peer sent more than 65536 bytes without a delimiter");
  const auto memoryBefore = residentMemory();
  RawServer server([](RawSocket& socket) {
    std::string umlauts = "j";  // so that the cut falls inside a character
    while (umlauts.size() < (1 << 20)) umlauts += "\xc3\xa4";
    while (socket.send(umlauts)) {
    }
  });
  std::string quoted = "j";
  for (int i = 0; i < 29; ++i) quoted += "\xc3\xa4";
  EXPECT_EQ(request(server.port()), PeerReply::failed("bad_cmd: " + quoted));
  EXPECT_LT(residentMemory(), memoryBefore + (16 << 20));
}

TEST_F(TcpRequestTest, refusedConnectionFailsLongBeforeTheLimit) {
  log.expectError("Connection to peer failed: ");
  EXPECT_EQ(request(test::closedPort()), PeerReply::failed("conn_failed"));
}

TEST_F(TcpRequestTest, hostThatIsNoNumericAddressFails) {
  log.expectError("Connection to peer failed: not a numeric address: peer\\x0a.local");
  EXPECT_EQ(request(1, longLimit, "peer\n.local"), PeerReply::failed("conn_failed"));
}

TEST_F(TcpRequestTest, linkLocalAddressWithAnUnknownScopeFails) {
  log.expectError("Connection to peer failed: ");
  EXPECT_EQ(request(1, longLimit, "fe80::1%nosuchlink0"), PeerReply::failed("conn_failed"));
}

TEST_F(TcpRequestTest, peerThatAcceptsAndNeverAnswersIsCutOff) {
  log.expectError("Command CONNECTED timed out");
  std::promise<void> completed;
  RawServer server([&](RawSocket& socket) {
    socket.receiveAll();
    completed.get_future().wait();
    EXPECT_FALSE(socket.send("O"));  // at the first byte: the connection is reset
  });
  EXPECT_EQ(request(server.port(), shortLimit, "127.0.0.1", DeviceCommand::connected), PeerReply::failed("timeout"));
  completed.set_value();
}

TEST_F(TcpRequestTest, drippingReplyDoesNotExtendTheLimit) {
  log.expectError("Command HEALTH_CHECK timed out");
  std::promise<void> completed;
  RawServer server([&](RawSocket& socket) {
    for (std::size_t i = 0; i < peerProtocol::maximumFrameLength && socket.send("x"); ++i) std::this_thread::yield();
    completed.get_future().wait();
  });
  EXPECT_EQ(request(server.port(), shortLimit), PeerReply::failed("timeout"));
  completed.set_value();
}

TEST_F(TcpRequestTest, lateAnswerIsIgnored) {
  log.expectError("Command HEALTH_CHECK timed out");
  std::promise<void> completed;
  RawServer server([&](RawSocket& socket) {
    socket.receiveAll();
    completed.get_future().wait();
    socket.send(frame("OP_SUCCESS"));
  });
  EXPECT_EQ(request(server.port(), shortLimit), PeerReply::failed("timeout"));
  completed.set_value();
  EXPECT_EQ(completions(), 1);
}

TEST_F(TcpRequestTest, aRequestThatIsEndedEarlyTimesOutAndResetsItsConnection) {
  log.expectError("Command RELEASED timed out");
  std::promise<void> arrived;
  std::promise<void> completed;
  RawServer server([&](RawSocket& socket) {
    socket.receiveAll();
    arrived.set_value();
    completed.get_future().wait();
    EXPECT_FALSE(socket.send("O"));  // at the first byte: nothing is kept there to be delivered
  });
  const auto request = send(server.port(), longLimit, "127.0.0.1", DeviceCommand::released);
  ASSERT_EQ(arrived.get_future().wait_for(patience), std::future_status::ready);
  if (const auto underWay = request.lock()) underWay->timeOut();
  EXPECT_EQ(outcome(), PeerReply::failed("timeout"));
  completed.set_value();
}

TEST_F(TcpRequestTest, aRequestThatIsOverIsNotEndedAgain) {
  RawServer server([](RawSocket& socket) {
    socket.receiveAll();
    socket.send(frame("OP_SUCCESS"));
  });
  const auto request = send(server.port(), longLimit);
  const auto held = request.lock();
  EXPECT_EQ(outcome(), success);
  if (held) held->timeOut();
  EXPECT_EQ(completions(), 1);
}

TEST_F(TcpRequestTest, requestUnderWayWhenTheNetworkThreadEndsNeverCompletes) {
  std::promise<void> arrived;
  std::promise<void> ended;
  RawServer server([&](RawSocket& socket) {
    socket.receiveAll();
    arrived.set_value();
    ended.get_future().wait();
    EXPECT_TRUE(socket.isAbandonedByOtherSide());
  });
  send(server.port(), longLimit);
  ASSERT_EQ(arrived.get_future().wait_for(patience), std::future_status::ready);
  endNetwork();
  ended.set_value();
  EXPECT_EQ(completions(), 0);
}

}  // namespace
}  // namespace zolvex
