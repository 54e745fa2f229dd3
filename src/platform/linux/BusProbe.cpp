#include "platform/linux/BusProbe.h"

#include "platform/linux/FileDescriptor.h"

#include <array>
#include <cstddef>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace zolvex {

namespace {

struct SocketAddress {
  sockaddr_un address{};
  socklen_t length = 0;
};

/// The first one of the list, when it is a plain one.
std::optional<SocketAddress> socketAddress(std::string_view address) {
  constexpr std::string_view path = "unix:path=";
  constexpr std::string_view abstract = "unix:abstract=";
  const bool isAbstract = address.starts_with(abstract);
  if (!isAbstract && !address.starts_with(path)) return std::nullopt;
  address.remove_prefix(isAbstract ? abstract.size() : path.size());
  const auto name = address.substr(0, address.find_first_of(",;"));
  SocketAddress result;
  const std::size_t start = isAbstract ? 1 : 0;  // an abstract name follows a zero byte
  if (name.find('%') != name.npos || start + name.size() >= sizeof result.address.sun_path) return std::nullopt;
  result.address.sun_family = AF_UNIX;
  name.copy(result.address.sun_path + start, name.size());
  result.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + start + name.size() + (isAbstract ? 0 : 1));
  return result;
}

}  // namespace

bool busAnswers(const std::string& address, std::chrono::milliseconds limit) {
  const auto target = socketAddress(address);
  if (!target) return true;
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&target->address), target->length) != 0) return false;
  constexpr std::string_view question("\0AUTH\r\n", 7);
  if (send(socket.get(), question.data(), question.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(question.size()))
    return false;
  pollfd answer{socket.get(), POLLIN, 0};
  std::array<char, 64> text{};
  return poll(&answer, 1, static_cast<int>(limit.count())) == 1 && read(socket.get(), text.data(), text.size()) > 0;
}

}  // namespace zolvex
