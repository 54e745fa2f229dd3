#include "peer/bonjour/AcceptedConnection.h"

#include "core/Text.h"
#include "peer/PeerProtocol.h"
#include "peer/bonjour/TcpReplyChannel.h"

#include <asio/buffer.hpp>
#include <asio/error.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

using Bytes = std::array<char, peerProtocol::maximumReadLength>;

}  // namespace

AcceptedConnection::AcceptedConnection(asio::ip::tcp::socket socket, std::shared_ptr<Surroundings> surroundings)
    : socket_(std::move(socket)), deadline_(socket_.get_executor()), surroundings_(std::move(surroundings)) {}

void AcceptedConnection::start() {
  asio::error_code error;
  socket_.non_blocking(true, error);
  if (error) return close();
  takeWhatHasCome();
  if (phase_ != Phase::reading) return;
  const auto& limits = surroundings_->limits;
  const bool hasSpoken = !reader_.message().empty();
  limitPhase(hasSpoken ? limits.frame : std::max(limits.frame - limits.silence, Seconds(0)));
  awaitFrame();
}

bool AcceptedConnection::isBeingAnswered() {
  if (phase_ == Phase::reading) takeWhatHasCome();
  return phase_ == Phase::answering || phase_ == Phase::replying;
}

void AcceptedConnection::close() {
  const auto before = std::exchange(phase_, Phase::closed);
  deadline_.cancel();
  asio::error_code ignored;
  socket_.close(ignored);
  if (before == Phase::answering || before == Phase::replying) surroundings_->answered();
}

void AcceptedConnection::limitPhase(Seconds limit) {
  deadline_.expires_after(std::chrono::ceil<asio::steady_timer::duration>(limit));
  deadline_.async_wait([self = shared_from_this()](asio::error_code) {
    // A handler that was due when the deadline moved still runs, and without an error.
    if (self->phase_ != Phase::closed && self->deadline_.expiry() <= asio::steady_timer::clock_type::now())
      self->limitReached();
  });
}

void AcceptedConnection::limitReached() {
  using enum OccasionalLog::Kind;
  auto& log = surroundings_->occasionalLog;
  if (phase_ == Phase::reading) log.error(frameTooSlow, "Closing a connection that sent no whole frame in time");
  if (phase_ == Phase::answering) log.error(replyTooLate, "Closing a connection that was not answered in time");
  close();
}

// Waiting without a buffer: a silent connection costs no memory.
void AcceptedConnection::awaitFrame() {
  socket_.async_wait(asio::ip::tcp::socket::wait_read, [self = shared_from_this()](asio::error_code error) {
    if (self->phase_ != Phase::reading) return;
    error ? self->close() : self->takeWhatHasCome();
    if (self->phase_ == Phase::reading) self->awaitFrame();
  });
}

void AcceptedConnection::takeWhatHasCome() {
  Bytes bytes;
  asio::error_code error;
  const auto count = socket_.read_some(asio::buffer(bytes), error);
  if (error == asio::error::would_block) return;
  if (error) return close();
  const auto state = reader_.feed({bytes.data(), count});
  if (state == FrameReader::State::complete) return handleMessage();
  if (state == FrameReader::State::incomplete) return;
  surroundings_->occasionalLog.error(OccasionalLog::Kind::frameTooLong,
                                     "Closing a connection that sent too much without a delimiter");
  close();
}

void AcceptedConnection::handleMessage() {
  const auto message = std::exchange(reader_, {}).message();
  logger.info("Listener got message ({} bytes)", message.size());
  if (!isUtf8(message)) {
    surroundings_->occasionalLog.error(OccasionalLog::Kind::notText, "Dropping a message that is not UTF-8");
    return close();
  }
  const auto line = firstLine(message);
  if (!line) logger.fatal("Received a frame without a command: it is empty or has only line feeds");
  phase_ = Phase::answering;
  commandTime_ = asio::steady_timer::clock_type::now();
  limitPhase(surroundings_->limits.reply);
  surroundings_->mainQueue.async(
      [surroundings = surroundings_, text = std::string(*line),
       channel = std::make_shared<TcpReplyChannel>(weak_from_this())] { surroundings->handleCommand(text, channel); });
}

void AcceptedConnection::reply(DeviceCommand command) {
  asio::post(socket_.get_executor(), [self = shared_from_this(), command] {
    if (self->phase_ == Phase::answering) self->send(command);
  });
}

void AcceptedConnection::abandon() {
  asio::post(socket_.get_executor(), [self = shared_from_this()] {
    if (self->phase_ == Phase::answering) self->close();
  });
}

/// The limit of the reply holds for the writing, too.
void AcceptedConnection::send(DeviceCommand command) {
  phase_ = Phase::replying;
  frame_ = frameOf(command);
  asio::async_write(socket_, asio::buffer(frame_), [self = shared_from_this()](asio::error_code error, std::size_t) {
    if (self->phase_ != Phase::replying) return;
    error ? self->close() : self->leave();
  });
}

void AcceptedConnection::leave() {
  phase_ = Phase::leaving;
  asio::error_code error;
  socket_.shutdown(asio::ip::tcp::socket::shutdown_send, error);
  error ? close() : readFarewell();
  // Mostly the requester has left already. A timer that is taken back would wake the thread at its hour all the same.
  if (phase_ == Phase::leaving) limitPhase(surroundings_->limits.farewell);
  surroundings_->answered();
}

void AcceptedConnection::awaitFarewell() {
  socket_.async_wait(asio::ip::tcp::socket::wait_read, [self = shared_from_this()](asio::error_code error) {
    if (self->phase_ != Phase::leaving) return;
    error ? self->close() : self->readFarewell();
  });
}

void AcceptedConnection::readFarewell() {
  Bytes discarded;
  asio::error_code error;
  farewellBytes_ += socket_.read_some(asio::buffer(discarded), error);
  const auto mayComeMore = !error || error == asio::error::would_block;
  mayComeMore&& farewellBytes_ <= surroundings_->limits.farewellBytes ? awaitFarewell() : close();
}

}  // namespace zolvex
