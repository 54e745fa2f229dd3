#include "DayCable.h"

#include <utility>

namespace zolvex::test {

/// One command under way; completed once.
struct DayCable::Request {
  Completion completion;
  WorkItem limit = {};

  void complete(const PeerReply& reply) {
    limit.cancel();
    if (const auto run = std::exchange(completion, nullptr)) run(reply);
  }
};

/// The way back for the reply, at the other end.
class DayCable::Channel final : public ReplyChannel {
 public:
  Channel(DayCable& sender, std::shared_ptr<Request> request)
      : sender_(sender), isSenderAlive_(sender.isAlive_), request_(std::move(request)) {}
  ~Channel() override { answer(PeerReply::failed("no_response")); }
  void reply(DeviceCommand command) override { answer({command, std::nullopt}); }

 private:
  void answer(const PeerReply& reply) {
    const auto request = std::exchange(request_, nullptr);
    if (request && *isSenderAlive_) sender_.answer(request, reply);
  }

  DayCable& sender_;
  std::shared_ptr<bool> isSenderAlive_;
  std::shared_ptr<Request> request_;
};

void DayCable::send(const NetworkDevice&, DeviceCommand command, Completion completion) {
  const auto request = std::make_shared<Request>(Request{std::move(completion)});
  request->limit =
      queue_.after(peerProtocol::commandTimeout, [request] { request->complete(PeerReply::failed("timeout")); });
  moments_.after(latency, [this, request, command] { deliver(request, command); });
  newest_ = request;
}

void DayCable::timeOutRequests() {
  if (const auto request = newest_.lock()) request->complete(PeerReply::failed("timeout"));
}

void DayCable::deliver(const std::shared_ptr<Request>& request, DeviceCommand command) {
  if (isCutAnywhere() || other_->queue_.isAsleep()) return;
  if (!other_->delegate_) return answer(request, PeerReply::failed("conn_failed"));
  other_->delegate_->peerTransportReceived(std::string(rawValueOf(command)), std::make_shared<Channel>(*this, request));
}

void DayCable::answer(const std::shared_ptr<Request>& request, const PeerReply& reply) {
  moments_.after(latency, [this, request, reply] {
    if (!isCutAnywhere()) queue_.whenAwake([request, reply] { request->complete(reply); });
  });
}

}  // namespace zolvex::test
