#pragma once

#include "peer/ReplyChannel.h"

#include <memory>

namespace zolvex {

/// What the registry tells of the peer's commands to the one who decides about the devices. Main thread.
class PeerCommandHandler {
 public:
  virtual ~PeerCommandHandler() = default;

  /// The peer holds the devices now.
  virtual void handlePeerConnected() = 0;

  /// The peer has let the devices go.
  virtual void handlePeerReleased() = 0;

  /// The peer wants the devices; answered through NetworkDeviceStore::replyPleaseRelease.
  virtual void handlePleaseRelease(std::shared_ptr<ReplyChannel> channel) = 0;
};

}  // namespace zolvex
