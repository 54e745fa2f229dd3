#include "peer/bonjour/TcpRequest.h"

#include "core/Log.h"
#include "core/Text.h"

#include <asio/buffer.hpp>
#include <asio/ip/address.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include <cerrno>
#include <memory>
#include <netinet/tcp.h>
#include <optional>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

constexpr std::size_t longerThanAnyCommand = 64;  // characters

asio::error_code lastError() {
  return {errno, asio::error::get_system_category()};
}

/// Lets the frame go together with the half-close, so that the peer need not wake up for that once more.
void holdBackUntilHalfClosed(int descriptor) {
#ifdef TCP_CORK
  const int on = 1;
  ::setsockopt(descriptor, IPPROTO_TCP, TCP_CORK, &on, sizeof on);  // works without, too
#endif
}

/// A new socket that is on its way to `endpoint`. Asio would watch it from before that on, when it counts as hung up:
/// the network thread would be woken up for nothing.
asio::error_code beginConnecting(asio::ip::tcp::socket& socket, const asio::ip::tcp::endpoint& endpoint) {
  const auto protocol = endpoint.protocol();
  const int descriptor = ::socket(protocol.family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol.protocol());
  if (descriptor < 0) return lastError();
  holdBackUntilHalfClosed(descriptor);
  const bool isOnItsWay = ::connect(descriptor, endpoint.data(), static_cast<socklen_t>(endpoint.size())) == 0 ||
                          errno == EINPROGRESS || errno == EINTR;
  auto error = isOnItsWay ? asio::error_code() : lastError();
  if (!error) socket.assign(protocol, descriptor, error);
  if (error) ::close(descriptor);
  return error;
}

/// What has become of that.
asio::error_code connectOutcome(asio::ip::tcp::socket& socket) {
  int outcome = 0;
  socklen_t size = sizeof outcome;
  if (::getsockopt(socket.native_handle(), SOL_SOCKET, SO_ERROR, &outcome, &size) != 0) return lastError();
  return {outcome, asio::error::get_system_category()};
}

/// What is left of an endless reply: enough to quote, cut between two characters.
PeerReply replyFromEndlessText(std::string_view text) {
  return replyFromText(firstCharacters(text, longerThanAnyCommand));
}

}  // namespace

std::weak_ptr<TcpRequest> TcpRequest::send(NetworkThread& network, MainQueue& mainQueue, Target target,
                                           DeviceCommand command, Completion completion, Seconds limit) {
  auto request = std::make_shared<TcpRequest>(network, mainQueue, std::move(target), command, std::move(completion));
  request->timeout_ = mainQueue.after(limit, [weak = std::weak_ptr(request)] {
    const auto self = weak.lock();
    if (self) asio::post(self->socket_.get_executor(), [self] { self->limitReached(); });
  });
  request->connect();
  return request;
}

void TcpRequest::timeOut() {
  asio::post(socket_.get_executor(), [self = shared_from_this()] { self->limitReached(); });
}

TcpRequest::TcpRequest(NetworkThread& network, MainQueue& mainQueue, Target target, DeviceCommand command,
                       Completion completion)
    : mainQueue_(mainQueue),
      target_(std::move(target)),
      command_(command),
      frame_(frameOf(command)),
      completion_(std::move(completion)),
      socket_(network.connectionQueue()) {}

/// Closes with a reset: else the system would go on for a minute or longer to deliver what the peer has not got yet,
/// and a request to release would take devices away that nobody waits for any more.
void TcpRequest::limitReached() {
  if (isCompleted_) return;
  asio::error_code ignored;
  socket_.set_option(asio::socket_base::linger(true, 0), ignored);
  logger.error("Command {} timed out", rawValueOf(command_));
  complete(PeerReply::failed("timeout"));
}

void TcpRequest::connect() {
  asio::error_code error;
  const auto address = asio::ip::make_address(target_.host, error);
  if (error) return connectionFailed("not a numeric address: " + escapedForLog(target_.host));
  if ((error = beginConnecting(socket_, {address, target_.port}))) return connectionFailed(error.message());
  socket_.async_wait(asio::ip::tcp::socket::wait_write, [self = shared_from_this()](asio::error_code waitError) {
    if (self->isCompleted_) return;
    const auto outcome = waitError ? waitError : connectOutcome(self->socket_);
    outcome ? self->connectionFailed(outcome.message()) : self->connected();
  });
}

void TcpRequest::connectionFailed(const std::string& reason) {
  logger.error("Connection to peer failed: {}", reason);
  complete(PeerReply::failed("conn_failed"));
}

void TcpRequest::connected() {
  logger.info("Connected to peer, sending {}", rawValueOf(command_));
  asio::async_write(socket_, asio::buffer(frame_), [self = shared_from_this()](asio::error_code error, std::size_t n) {
    if (!self->isCompleted_) self->sent(error, n);
  });
}

/// A peer may have answered before it refused the rest, so the reply is read whatever became of the sending.
void TcpRequest::sent(asio::error_code error, std::size_t count) {
  if (error) {
    logger.error("Send error: {}", error.message());
  } else {
    logger.info("Sent {} bytes to peer", count);
    asio::error_code ignored;  // a peer that is gone already shows itself in the reading
    socket_.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
  }
  awaitReply();
}

void TcpRequest::awaitReply() {
  socket_.async_read_some(asio::buffer(bytes_), [self = shared_from_this()](asio::error_code error, std::size_t n) {
    if (!self->isCompleted_) self->received(error, n);
  });
}

void TcpRequest::received(asio::error_code error, std::size_t count) {
  const auto state = reader_.feed({bytes_.data(), count});
  const auto& text = reader_.message();
  if (state == FrameReader::State::complete) {
    const auto tell = [count = text.size()] { logger.info("Client got response ({} bytes)", count); };
    return complete(replyFromText(text), tell);
  }
  if (state == FrameReader::State::tooLong) {
    logger.error("Peer sent more than {} bytes without a delimiter", text.size());
    return complete(replyFromEndlessText(text));
  }
  error ? connectionEnded() : awaitReply();
}

void TcpRequest::connectionEnded() {
  const auto& text = reader_.message();
  logger.info("Connection ended before delimiter ({} bytes)", text.size());
  complete(replyFromText(text.empty() ? std::nullopt : std::optional<std::string_view>(text)));
}

/// `tell` runs together with the completion: whoever reads there that the request is over may send the next one.
void TcpRequest::complete(PeerReply reply, std::function<void()> tell) {
  isCompleted_ = true;
  asio::error_code ignored;
  socket_.close(ignored);
  // The time-out goes along, because it can be taken back there only.
  mainQueue_.async([timeout = std::make_shared<WorkItem>(std::move(timeout_)),
                    completion = std::exchange(completion_, nullptr), reply = std::move(reply),
                    tell = std::move(tell)] {
    if (tell) tell();
    completion(reply);
  });
}

}  // namespace zolvex
