// A reply is one of the six commands to the letter, or a failure that tells why.
#include "FuzzCheck.h"
#include "core/Text.h"
#include "peer/PeerProtocol.h"

#include <algorithm>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zolvex;
  const auto text = fuzzText(data, size);
  const auto reply = replyFromText(text);

  fuzzCheck(reply.command.has_value(), "every reply has a command");
  if (const auto command = deviceCommandFromRawValue(text)) {
    fuzzCheck(rawValueOf(*command) == text, "a command's text is its raw value");
    fuzzCheck(reply == PeerReply{command, std::nullopt}, "a command is the reply itself");
    fuzzCheck(frameOf(*command) == std::string(text) + '\0', "a frame is the raw value and one delimiter");
    return 0;
  }
  fuzzCheck(reply.command == DeviceCommand::operationFailed && !reply.succeeded(), "anything else is a failure");
  fuzzCheck(reply.failure.has_value(), "which says why");
  if (!isUtf8(text)) {
    fuzzCheck(reply.failure == "no_response", "no text is no response");
    return 0;
  }
  const std::string prefix = "bad_cmd: ";
  fuzzCheck(reply.failure->starts_with(prefix), "junk is a bad command");
  const auto quoted = reply.failure->substr(prefix.size());
  fuzzCheck(text.starts_with(quoted) && isUtf8(quoted), "quoted from the start, in whole characters");
  fuzzCheck(quoted.size() >= std::min<std::size_t>(text.size(), 30) && quoted.size() <= 4 * 30, "30 characters of it");
  return 0;
}
