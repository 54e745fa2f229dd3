#pragma once

#include "SleepyQueue.h"
#include "core/DelayedWork.h"
#include "peer/PeerTransport.h"

#include <functional>
#include <memory>

namespace zolvex::test {

/// One computer's end of the link to the other. What is sent arrives after a moment; while the link is cut or the
/// other computer sleeps it is lost, and where nobody listens it is refused.
class DayCable final : public PeerTransport {
 public:
  static constexpr Seconds latency{0.02};

  DayCable(VirtualTime& time, SleepyQueue& queue) : moments_(time), queue_(queue) {}
  ~DayCable() override { *isAlive_ = false; }

  void plugInto(DayCable& other) { other_ = &other; }
  void cut(bool isCut) { isCut_ = isCut; }

  void start(PeerTransportDelegate& delegate) override { delegate_ = &delegate; }
  void stop() override { delegate_ = nullptr; }
  void send(const NetworkDevice& peer, DeviceCommand command, Completion completion) override;
  void timeOutRequests() override;
  void reportDiscoveredAgain() override {}

 private:
  struct Request;
  class Channel;
  void deliver(const std::shared_ptr<Request>& request, DeviceCommand command);
  void answer(const std::shared_ptr<Request>& request, const PeerReply& reply);
  bool isCutAnywhere() const { return isCut_ || other_->isCut_; }

  DelayedWork moments_;
  SleepyQueue& queue_;
  DayCable* other_ = nullptr;
  PeerTransportDelegate* delegate_ = nullptr;
  bool isCut_ = false;
  std::weak_ptr<Request> newest_;  // no computer has two under way
  std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);
};

}  // namespace zolvex::test
