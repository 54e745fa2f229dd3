#pragma once

#include "core/Time.h"
#include "peer/DeviceCommand.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zolvex {

/// Constants and text rules that all transports share. The page docs/protocol.md tells the reasons.
namespace peerProtocol {
inline constexpr char delimiter = '\0';         ///< Ends each frame on TCP.
inline constexpr Seconds commandTimeout{10.0};  ///< From the start of a request to its reply.
inline constexpr std::string_view serviceType = "_zolvex._tcp.";
inline constexpr std::string_view serviceDomain = "local.";
inline constexpr std::size_t maximumFrameLength = 64 * 1024;  ///< Bytes before the delimiter.
inline constexpr std::size_t maximumReadLength = 64 * 1024;   ///< Bytes taken from a connection at once.
}  // namespace peerProtocol

/// What a request came to.
struct PeerReply {
  std::optional<DeviceCommand> command;
  std::optional<std::string> failure;  ///< "timeout", "conn_failed", "no_response" or "bad_cmd: ...".

  static PeerReply failed() { return {DeviceCommand::operationFailed, std::nullopt}; }
  static PeerReply failed(std::string failure) { return {DeviceCommand::operationFailed, std::move(failure)}; }

  bool succeeded() const { return command == DeviceCommand::operationSuccess; }
  bool operator==(const PeerReply&) const = default;
};

/// Reads a reply: no text (or bytes that are not UTF-8) is "no_response", a text that is no command, be it empty,
/// "bad_cmd: " and its first 30 characters.
PeerReply replyFromText(std::optional<std::string_view> text);

/// The first line that is not empty, as a request's command text; none when there is no such line.
std::optional<std::string_view> firstLine(std::string_view message);

/// A command as it goes over TCP: its raw value and one delimiter.
std::string frameOf(DeviceCommand command);

}  // namespace zolvex
