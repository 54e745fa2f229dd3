#pragma once

#include "core/MainQueue.h"
#include "peer/DeviceCommand.h"
#include "peer/FrameReader.h"
#include "peer/PeerProtocol.h"
#include "peer/bonjour/NetworkThread.h"

#include <asio/ip/tcp.hpp>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zolvex {

/// One request to a peer over a connection of its own: connect, send the frame, half-close, read one reply frame.
/// Reply, failure and time-out race; the first one completes the request and closes the connection, the others find
/// it done. After the time-out what the system has not delivered yet is dropped. Owned by its own pending steps. They
/// run on the connection queue, from the outcome of the connecting on; that is begun at once, so that the network
/// thread is not woken up before there is something to do. The completion runs on the main queue, once, or never when
/// the network thread or the main queue ends first. The time-out waits on the main queue, too, where taking it back
/// wakes nobody: the network thread would be woken up at its hour all the same.
class TcpRequest : public std::enable_shared_from_this<TcpRequest> {
 public:
  using Completion = std::function<void(const PeerReply&)>;

  struct Target {
    std::string host;  ///< A numeric address; a link-local IPv6 one with its scope ("fe80::1%eth0").
    std::uint16_t port = 0;
  };

  /// Main thread.
  static std::weak_ptr<TcpRequest> send(NetworkThread& network, MainQueue& mainQueue, Target target,
                                        DeviceCommand command, Completion completion,
                                        Seconds limit = peerProtocol::commandTimeout);

  /// Ends the request, unless it is over, as if its limit were reached. Any thread.
  void timeOut();

  /// For send() only.
  TcpRequest(NetworkThread& network, MainQueue& mainQueue, Target target, DeviceCommand command, Completion completion);

 private:
  void limitReached();
  void connect();
  void connected();
  void connectionFailed(const std::string& reason);
  void sent(asio::error_code error, std::size_t count);
  void awaitReply();
  void received(asio::error_code error, std::size_t count);
  void connectionEnded();
  void complete(PeerReply reply, std::function<void()> tell = {});

  MainQueue& mainQueue_;
  const Target target_;
  const DeviceCommand command_;
  const std::string frame_;
  Completion completion_;
  bool isCompleted_ = false;
  asio::ip::tcp::socket socket_;
  WorkItem timeout_;
  FrameReader reader_;
  std::array<char, peerProtocol::maximumReadLength> bytes_;
};

}  // namespace zolvex
