#pragma once

#include "core/MainQueue.h"
#include "peer/bonjour/AcceptedConnection.h"
#include "peer/bonjour/ListenerLimits.h"
#include "peer/bonjour/NetworkThread.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// Accepts the peer's connections on a port that the system picks. The transport opens it, starts it and cancels it;
/// in between it says that it is ready, and hands over each command that comes. While it has as many commands to
/// answer as it may have connections, it accepts no more. Connections whose command is still being handled when it is
/// cancelled live on until they are answered.
/// open(), start() and cancel() are for the main thread; the rest runs on the publisher queue.
class TcpListener : public std::enable_shared_from_this<TcpListener> {
 public:
  /// All run on the main queue.
  struct Events {
    std::function<void(std::uint16_t port)> ready;
    std::function<void()> failed;
    AcceptedConnection::CommandHandler received;
  };

  TcpListener(NetworkThread& network, MainQueue& mainQueue, Events events, ListenerLimits limits = {});

  /// Takes a port, for IPv6 and IPv4 together where there is IPv6. Returns what went wrong, if anything.
  std::optional<std::string> open();

  /// Begins to accept. After a successful open().
  void start();

  void cancel();

 private:
  asio::error_code openWith(const asio::ip::tcp& protocol);
  void begin();
  void awaitNewcomer();
  void admitNewcomer();
  bool makeRoom();
  void placeBecameFree();
  void accept();
  void accepted(asio::error_code error, asio::ip::tcp::socket socket);
  void acceptFailed(asio::error_code error);
  void end();

  MainQueue& mainQueue_;
  const Events events_;
  const std::shared_ptr<AcceptedConnection::Surroundings> surroundings_;
  asio::ip::tcp::acceptor acceptor_;
  asio::steady_timer pause_;
  asio::steady_timer nextLook_;                                 // while full
  std::vector<std::weak_ptr<AcceptedConnection>> connections_;  // oldest first
  bool isFull_ = false;  // every place is being answered, and whoever comes waits with the kernel
};

}  // namespace zolvex
