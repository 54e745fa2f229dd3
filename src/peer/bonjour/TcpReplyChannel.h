#pragma once

#include "peer/ReplyChannel.h"

#include <memory>

namespace zolvex {

class AcceptedConnection;

/// The way back over an accepted connection. It does not keep the connection: a reply that comes when the connection
/// is gone does nothing. Main thread.
class TcpReplyChannel final : public ReplyChannel {
 public:
  explicit TcpReplyChannel(std::weak_ptr<AcceptedConnection> connection);
  ~TcpReplyChannel() override;

  void reply(DeviceCommand command) override;

 private:
  std::weak_ptr<AcceptedConnection> connection_;
};

}  // namespace zolvex
