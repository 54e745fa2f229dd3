#pragma once

#include "core/Time.h"
#include "support/Patience.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace zolvex::test {

/// A bare loopback connection, for playing peers of every kind. All calls block, at most `limit`; then they fail.
class RawSocket {
 public:
  static constexpr int limitMilliseconds = 20'000;

  RawSocket() = default;
  explicit RawSocket(int descriptor);
  RawSocket(RawSocket&& other) noexcept;
  RawSocket& operator=(RawSocket&& other) noexcept;
  ~RawSocket() { close(); }

  /// Not open when nobody listens there.
  static RawSocket connectedTo(std::uint16_t port, const char* host = "127.0.0.1");

  /// Connects a socket that exists already.
  bool connect(std::uint16_t port, const char* host = "127.0.0.1");

  bool isOpen() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }

  /// False when the other side is gone.
  bool send(std::string_view bytes);
  void halfClose();
  void close();

  /// Closes so that the other side sees a reset.
  void reset();

  /// At most `count` bytes, as they come; empty at the end of the stream or after a reset.
  std::string receive(std::size_t count = 4096);

  /// Everything until the end of the stream, a reset or the limit.
  std::string receiveAll();

  /// Whether the other side has closed the connection entirely. Finds out by sending it one byte.
  bool isAbandonedByOtherSide();

 private:
  int descriptor_ = -1;
};

/// A command or reply as it is on the wire.
std::string frame(std::string_view text);

/// Connects, sends one frame, half-closes and receives, as a well-behaved requester does. None when it got no reply.
std::optional<std::string> ask(std::uint16_t port, std::string_view frame);

/// A listener on loopback that plays the peer of a request: `play` gets each accepted connection, on its own thread.
class RawServer {
 public:
  explicit RawServer(std::function<void(RawSocket&)> play, const char* host = "127.0.0.1");
  ~RawServer();

  std::uint16_t port() const { return port_; }

 private:
  std::uint16_t port_ = 0;
  int listener_ = -1;
  std::function<void(RawSocket&)> play_;
  std::thread thread_;
};

/// A port on which nobody listens.
std::uint16_t closedPort();

/// Resident memory of this process in bytes.
std::size_t residentMemory();

/// What the threads of this process have had of the processors so far.
struct ProcessorUse {
  static ProcessorUse ofThisProcess();

  /// For how long, since then, they were ready to run while other programs had the processors. What they may have
  /// waited for each other does not count.
  std::chrono::nanoseconds waitedForOthersSince(const ProcessorUse& before) const;

  std::chrono::nanoseconds ran{};
  std::chrono::nanoseconds waited{};
};

}  // namespace zolvex::test
