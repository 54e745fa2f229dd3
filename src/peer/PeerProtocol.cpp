#include "peer/PeerProtocol.h"

#include "core/Text.h"

namespace zolvex {

namespace {

constexpr std::size_t quotedReplyLength = 30;  // characters

}  // namespace

PeerReply replyFromText(std::optional<std::string_view> text) {
  if (!text || !isUtf8(*text)) return PeerReply::failed("no_response");
  if (const auto command = deviceCommandFromRawValue(*text)) return {command, std::nullopt};
  return PeerReply::failed("bad_cmd: " + std::string(firstCharacters(*text, quotedReplyLength)));
}

std::optional<std::string_view> firstLine(std::string_view message) {
  const auto begin = message.find_first_not_of('\n');
  if (begin == std::string_view::npos) return std::nullopt;
  return message.substr(begin, message.find('\n', begin) - begin);
}

std::string frameOf(DeviceCommand command) {
  return std::string(rawValueOf(command)) + peerProtocol::delimiter;
}

}  // namespace zolvex
