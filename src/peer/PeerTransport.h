#pragma once

#include "peer/NetworkDevice.h"
#include "peer/PeerProtocol.h"
#include "peer/ReplyChannel.h"

#include <functional>
#include <memory>
#include <string>

namespace zolvex {

/// What a running transport reports. Main thread.
class PeerTransportDelegate {
 public:
  virtual ~PeerTransportDelegate() = default;

  /// A request's command text arrived; `channel` takes the reply.
  virtual void peerTransportReceived(const std::string& text, std::shared_ptr<ReplyChannel> channel) = 0;

  /// Another computer was found, or found again with newer data.
  virtual void peerTransportDiscovered(const NetworkDevice& device) = 0;

  /// The computer with this id is no longer to be seen.
  virtual void peerTransportLost(const std::string& id) = 0;
};

/// One way to reach the other computer. Main thread; the work itself may be done elsewhere.
class PeerTransport {
 public:
  using Completion = std::function<void(const PeerReply&)>;

  virtual ~PeerTransport() = default;

  /// Begins to receive and discover. Not called while started.
  virtual void start(PeerTransportDelegate& delegate) = 0;

  /// After it returns the delegate is not called any more. Requests under way still complete.
  virtual void stop() = 0;

  /// Sends one request, also while stopped where the technology allows it. `completion` runs exactly once, at the
  /// latest when peerProtocol::commandTimeout has passed, possibly before send() returns.
  virtual void send(const NetworkDevice& peer, DeviceCommand command, Completion completion) = 0;

  /// Ends the requests under way as if their time had passed: nothing more of them reaches the peer, and their
  /// completions run soon, with "timeout".
  virtual void timeOutRequests() = 0;

  /// Reports every computer that can be seen now once more.
  virtual void reportDiscoveredAgain() = 0;
};

}  // namespace zolvex
