#include "peer/bonjour/RawSocket.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace zolvex::test {

namespace {

struct Address {
  sockaddr_storage storage{};
  socklen_t length = 0;
  int family = AF_INET;
};

Address addressOf(const char* host, std::uint16_t port) {
  Address address;
  auto* v4 = reinterpret_cast<sockaddr_in*>(&address.storage);
  if (inet_pton(AF_INET, host, &v4->sin_addr) == 1) {
    v4->sin_family = AF_INET;
    v4->sin_port = htons(port);
    address.length = sizeof *v4;
    return address;
  }
  auto* v6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
  inet_pton(AF_INET6, host, &v6->sin6_addr);
  v6->sin6_family = AF_INET6;
  v6->sin6_port = htons(port);
  address.length = sizeof *v6;
  address.family = AF_INET6;
  return address;
}

int boundSocket(const char* host, std::uint16_t& port) {
  auto address = addressOf(host, 0);
  const int descriptor = ::socket(address.family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(::bind(descriptor, reinterpret_cast<sockaddr*>(&address.storage), address.length), 0);
  ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address.storage), &address.length);
  // The port has the same place in both families.
  port = ntohs(reinterpret_cast<sockaddr_in*>(&address.storage)->sin_port);
  return descriptor;
}

bool wait(int descriptor, short events) {
  pollfd poll{descriptor, events, 0};
  return ::poll(&poll, 1, RawSocket::limitMilliseconds) == 1;
}

}  // namespace

RawSocket::RawSocket(int descriptor) : descriptor_(descriptor) {}

RawSocket::RawSocket(RawSocket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

RawSocket& RawSocket::operator=(RawSocket&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

RawSocket RawSocket::connectedTo(std::uint16_t port, const char* host) {
  RawSocket socket(::socket(addressOf(host, port).family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.connect(port, host)) socket.close();
  return socket;
}

bool RawSocket::connect(std::uint16_t port, const char* host) {
  const auto address = addressOf(host, port);
  return ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address.storage), address.length) == 0;
}

bool RawSocket::send(std::string_view bytes) {
  while (!bytes.empty()) {
    if (!wait(descriptor_, POLLOUT)) return false;
    const auto count = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && errno != EAGAIN) return false;
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

void RawSocket::halfClose() {
  ::shutdown(descriptor_, SHUT_WR);
}

void RawSocket::close() {
  if (isOpen()) ::close(std::exchange(descriptor_, -1));
}

void RawSocket::reset() {
  const linger atOnce{1, 0};
  ::setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  close();
}

std::string RawSocket::receive(std::size_t count) {
  std::string bytes(count, '\0');
  if (!wait(descriptor_, POLLIN)) return {};
  const auto received = ::recv(descriptor_, bytes.data(), bytes.size(), 0);
  bytes.resize(received > 0 ? static_cast<std::size_t>(received) : 0);
  return bytes;
}

std::string RawSocket::receiveAll() {
  std::string all;
  for (auto piece = receive(); !piece.empty(); piece = receive()) all += piece;
  return all;
}

bool RawSocket::isAbandonedByOtherSide() {
  send("x");                    // answered with a reset
  return wait(descriptor_, 0);  // which is reported without being asked for
}

std::string frame(std::string_view text) {
  return std::string(text) + '\0';
}

std::optional<std::string> ask(std::uint16_t port, std::string_view frame) {
  auto socket = RawSocket::connectedTo(port);
  if (!socket.isOpen() || !socket.send(frame)) return std::nullopt;
  socket.halfClose();
  auto reply = socket.receiveAll();
  return reply.empty() ? std::nullopt : std::optional(std::move(reply));
}

RawServer::RawServer(std::function<void(RawSocket&)> play, const char* host)
    : listener_(boundSocket(host, port_)), play_(std::move(play)) {
  ::listen(listener_, 8);
  thread_ = std::thread([this] {
    for (;;) {
      RawSocket connection(::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC));
      if (!connection.isOpen()) return;
      play_(connection);
    }
  });
}

RawServer::~RawServer() {
  ::shutdown(listener_, SHUT_RDWR);  // wakes accept()
  thread_.join();
  ::close(listener_);
}

std::uint16_t closedPort() {
  std::uint16_t port = 0;
  ::close(boundSocket("127.0.0.1", port));
  return port;
}

std::size_t residentMemory() {
  std::ifstream statm("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  statm >> total >> resident;
  return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

ProcessorUse ProcessorUse::ofThisProcess() {
  ProcessorUse use;
  std::error_code error;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", error)) {
    std::int64_t ran = 0;
    std::int64_t waited = 0;  // nanoseconds, both
    if (!(std::ifstream(thread.path() / "schedstat") >> ran >> waited)) continue;
    use.ran += std::chrono::nanoseconds(ran);
    use.waited += std::chrono::nanoseconds(waited);
  }
  return use;
}

std::chrono::nanoseconds ProcessorUse::waitedForOthersSince(const ProcessorUse& before) const {
  return std::max(waited - before.waited - (ran - before.ran), std::chrono::nanoseconds(0));
}

}  // namespace zolvex::test
