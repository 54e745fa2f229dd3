#include "peer/bonjour/TcpListener.h"

#include "core/Log.h"

#include <asio/error.hpp>
#include <asio/ip/v6_only.hpp>
#include <asio/post.hpp>

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

/// Whether the listening socket itself is broken. Everything else accept() can say concerns one connection, or will
/// pass: no descriptors, no memory, a network that went down.
bool isFinal(asio::error_code error) {
  return error == asio::error::bad_descriptor || error == asio::error::not_socket ||
         error == asio::error::invalid_argument || error == asio::error::operation_not_supported;
}

/// Programs that we start do not get it: they would keep the port, or the peer's connection, open.
void keepToThisProcess(int descriptor) {
  ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

/// Has the kernel hand over a connection with its first bytes, or when it has been silent for that long. Else each
/// request would wake us up twice, and a crowd of them would displace each other before they have spoken.
void deferSilentOnes(asio::ip::tcp::acceptor& acceptor, std::chrono::seconds time) {
#ifdef TCP_DEFER_ACCEPT
  const int seconds = static_cast<int>(time.count());
  ::setsockopt(acceptor.native_handle(), IPPROTO_TCP, TCP_DEFER_ACCEPT, &seconds,
               sizeof seconds);  // works without, too
#endif
}

}  // namespace

TcpListener::TcpListener(NetworkThread& network, MainQueue& mainQueue, Events events, ListenerLimits limits)
    : mainQueue_(mainQueue),
      events_(std::move(events)),
      surroundings_(std::make_shared<AcceptedConnection::Surroundings>(AcceptedConnection::Surroundings{
          mainQueue, events_.received, limits, OccasionalLog(logger, limits.logPause)})),
      acceptor_(network.publisherQueue()),
      pause_(network.publisherQueue()),
      nextLook_(network.publisherQueue()) {}

std::optional<std::string> TcpListener::open() {
  if (!openWith(asio::ip::tcp::v6())) return std::nullopt;
  const auto error = openWith(asio::ip::tcp::v4());
  return error ? std::optional(error.message()) : std::nullopt;
}

asio::error_code TcpListener::openWith(const asio::ip::tcp& protocol) {
  constexpr std::uint16_t anyPort = 0;
  asio::error_code error;
  acceptor_.close(error);
  acceptor_.open(protocol, error);
  if (!error) keepToThisProcess(acceptor_.native_handle());
  if (!error && protocol == asio::ip::tcp::v6()) acceptor_.set_option(asio::ip::v6_only(false), error);
  if (!error) acceptor_.bind({protocol, anyPort}, error);
  if (!error) deferSilentOnes(acceptor_, surroundings_->limits.silence);
  if (!error) acceptor_.listen(asio::socket_base::max_listen_connections, error);
  return error;
}

void TcpListener::start() {
  asio::post(acceptor_.get_executor(), [self = shared_from_this()] { self->begin(); });
}

void TcpListener::cancel() {
  asio::post(acceptor_.get_executor(), [self = shared_from_this()] { self->end(); });
}

void TcpListener::begin() {
  asio::error_code error;
  const auto port = acceptor_.local_endpoint(error).port();
  if (error) return acceptFailed(error);
  logger.info("Listener ready: Port {}", port);
  mainQueue_.async([ready = events_.ready, port] { ready(port); });
  surroundings_->answered = [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->placeBecameFree();
  };
  awaitNewcomer();
}

// A newcomer is accepted only once there is a place for it, so that none is closed for want of one.
void TcpListener::awaitNewcomer() {
  acceptor_.async_wait(asio::ip::tcp::acceptor::wait_read, [self = shared_from_this()](asio::error_code error) {
    if (!self->acceptor_.is_open()) return;
    error ? self->acceptFailed(error) : self->admitNewcomer();
  });
}

void TcpListener::admitNewcomer() {
  isFull_ = false;  // whoever is closed to make room says so
  if (makeRoom()) return accept();
  isFull_ = true;
  surroundings_->occasionalLog.error(OccasionalLog::Kind::tooManyCommands,
                                     "Too many commands at once: new connections have to wait");
  nextLook_.expires_after(std::chrono::ceil<asio::steady_timer::duration>(surroundings_->limits.fullPause));
  nextLook_.async_wait([self = shared_from_this()](asio::error_code error) {
    if (!error) self->placeBecameFree();
  });
}

void TcpListener::placeBecameFree() {
  if (isFull_ && acceptor_.is_open()) admitNewcomer();
}

void TcpListener::accept() {
  acceptor_.async_accept([self = shared_from_this()](asio::error_code error, asio::ip::tcp::socket socket) {
    if (self->acceptor_.is_open()) self->accepted(error, std::move(socket));
  });
}

void TcpListener::accepted(asio::error_code error, asio::ip::tcp::socket socket) {
  if (error) return acceptFailed(error);
  keepToThisProcess(socket.native_handle());
  const auto connection = std::make_shared<AcceptedConnection>(std::move(socket), surroundings_);
  connections_.push_back(connection);
  connection->start();
  awaitNewcomer();
}

void TcpListener::acceptFailed(asio::error_code error) {
  if (isFinal(error)) {
    logger.error("Listener error: {}", error.message());
    asio::error_code ignored;
    acceptor_.close(ignored);
    return mainQueue_.async(events_.failed);
  }
  surroundings_->occasionalLog.error(OccasionalLog::Kind::acceptFailed,
                                     "Cannot accept a connection: " + error.message());
  pause_.expires_after(std::chrono::ceil<asio::steady_timer::duration>(surroundings_->limits.acceptPause));
  pause_.async_wait([self = shared_from_this()](asio::error_code) {
    if (self->acceptor_.is_open()) self->awaitNewcomer();
  });
}

/// Closes the oldest connection for which nobody is working when there are as many as there may be. Those whose
/// command is being handled stay: they are what the listener is for, and they bound the work waiting on the main queue.
/// But not for longer than a requester waits, because commands can be such that their handling takes long.
bool TcpListener::makeRoom() {
  using Phase = AcceptedConnection::Phase;
  std::erase_if(connections_, [](const auto& weak) {
    const auto connection = weak.lock();
    return !connection || connection->phase() == Phase::closed;
  });
  if (connections_.size() < surroundings_->limits.connections) return true;
  const auto oldest = [this](auto&& isDispensable) {
    return std::find_if(connections_.begin(), connections_.end(),
                        [&](const auto& weak) { return isDispensable(*weak.lock()); });
  };
  auto victim = oldest([](AcceptedConnection& connection) { return !connection.isBeingAnswered(); });
  if (victim == connections_.end())
    victim = oldest([limit = surroundings_->limits.replyWhenFull](const AcceptedConnection& connection) {
      return connection.waitForReply() >= limit;
    });
  if (victim == connections_.end()) return false;
  surroundings_->occasionalLog.error(OccasionalLog::Kind::tooManyConnections,
                                     "Too many connections: closing the oldest unfinished one");
  if (const auto connection = victim->lock()) connection->close();
  connections_.erase(victim);
  return true;
}

void TcpListener::end() {
  if (!acceptor_.is_open()) return;
  asio::error_code ignored;
  acceptor_.close(ignored);
  pause_.cancel();
  nextLook_.cancel();
  for (const auto& weak : connections_) {
    const auto connection = weak.lock();
    if (connection && connection->phase() == AcceptedConnection::Phase::reading) connection->close();
  }
  logger.info("Listener was cancelled");
}

}  // namespace zolvex
