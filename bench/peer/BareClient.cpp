#include "peer/BareClient.h"

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace zolvex::bench {

bool askWithBareSocket(std::uint16_t port, std::string_view frame, std::string_view expected) {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  std::string reply;
  if (::connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
    ::send(descriptor, frame.data(), frame.size(), MSG_NOSIGNAL);
    ::shutdown(descriptor, SHUT_WR);
    std::array<char, 256> bytes;
    for (auto count = ::recv(descriptor, bytes.data(), bytes.size(), 0); count > 0;
         count = ::recv(descriptor, bytes.data(), bytes.size(), 0))
      reply.append(bytes.data(), static_cast<std::size_t>(count));
  }
  ::close(descriptor);
  return reply == expected;
}

}  // namespace zolvex::bench
