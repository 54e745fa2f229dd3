#pragma once

#include <cstdint>
#include <string_view>

namespace zolvex::bench {

/// What a program with nothing but sockets does for one request: connect, send, half-close, receive to the end, close.
/// Whether the reply was `expected`.
bool askWithBareSocket(std::uint16_t port, std::string_view frame, std::string_view expected);

}  // namespace zolvex::bench
