#pragma once

#include "peer/PeerTransport.h"
#include "support/VirtualTime.h"

#include <optional>
#include <string>
#include <vector>

namespace zolvex::test {

/// The reply of a request that a test handed in.
class FakeReplyChannel final : public ReplyChannel {
 public:
  void reply(DeviceCommand command) override { replies.push_back(command); }
  std::vector<DeviceCommand> replies;
};

/// A transport to a peer that the test plays: it says when and what the peer answers, and lets it speak.
class FakePeerTransport final : public PeerTransport {
 public:
  explicit FakePeerTransport(VirtualTime& time) : time_(time) {}

  // How the peer behaves.
  std::optional<PeerReply> answer = PeerReply{DeviceCommand::operationSuccess, std::nullopt};  ///< None: never.
  std::optional<Seconds> answerDelay = Seconds(0.05);  ///< None: the answer comes before send() returns.

  /// What was sent, in order.
  std::vector<DeviceCommand> sent;
  std::vector<NetworkDevice> sentTo;

  /// The peer sends a request.
  std::shared_ptr<FakeReplyChannel> receive(
      const std::string& text, std::shared_ptr<FakeReplyChannel> channel = std::make_shared<FakeReplyChannel>()) {
    if (delegate_) delegate_->peerTransportReceived(text, channel);
    return channel;
  }
  void discover(const NetworkDevice& device) {
    forget(device.id);
    seen_.push_back(device);
    delegate_->peerTransportDiscovered(device);
  }
  void lose(const std::string& id) {
    forget(id);
    delegate_->peerTransportLost(id);
  }

  /// Completes the oldest request that has had no answer.
  void complete(const PeerReply& reply) {
    auto completion = std::move(waiting_.front());
    waiting_.erase(waiting_.begin());
    completion(reply);
  }

  bool isStarted() const { return delegate_ != nullptr; }
  int starts = 0;
  int reportsAsked = 0;

  void start(PeerTransportDelegate& delegate) override {
    delegate_ = &delegate;
    ++starts;
  }
  void stop() override {
    delegate_ = nullptr;
    seen_.clear();
  }
  void send(const NetworkDevice& peer, DeviceCommand command, Completion completion) override {
    sent.push_back(command);
    sentTo.push_back(peer);
    if (!answer)
      waiting_.push_back(std::move(completion));
    else if (!answerDelay)
      completion(*answer);
    else
      pending_.push_back(
          time_.after(*answerDelay, [completion = std::move(completion), reply = *answer] { completion(reply); }));
  }
  void timeOutRequests() override {
    while (!waiting_.empty()) complete(PeerReply::failed("timeout"));
  }
  void reportDiscoveredAgain() override {
    ++reportsAsked;
    for (const auto& device : seen_) delegate_->peerTransportDiscovered(device);
  }

 private:
  void forget(const std::string& id) {
    std::erase_if(seen_, [&id](const NetworkDevice& device) { return device.id == id; });
  }

  VirtualTime& time_;
  PeerTransportDelegate* delegate_ = nullptr;
  std::vector<NetworkDevice> seen_;  // now
  std::vector<Completion> waiting_;
  std::vector<WorkItem> pending_;
};

}  // namespace zolvex::test
