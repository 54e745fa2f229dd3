// A frame is the same however the network cuts it up, and what a frame's text gives is independent of the rest.
#include "FuzzCheck.h"
#include "peer/FrameReader.h"
#include "peer/PeerProtocol.h"

#include <algorithm>
#include <string>

namespace {

using namespace std::string_view_literals;
using zolvex::FrameReader;

void checkAgainstDefinition(const FrameReader& reader, std::string_view bytes) {
  const auto end = bytes.find(zolvex::peerProtocol::delimiter);
  const auto text = bytes.substr(0, end);
  if (text.size() > zolvex::peerProtocol::maximumFrameLength) {
    fuzzCheck(reader.state() == FrameReader::State::tooLong, "a frame over the limit is too long");
    fuzzCheck(reader.message().size() == zolvex::peerProtocol::maximumFrameLength, "memory is bounded by the limit");
    return;
  }
  const bool complete = end != std::string_view::npos;
  fuzzCheck(reader.state() == (complete ? FrameReader::State::complete : FrameReader::State::incomplete),
            "a frame is complete exactly when its delimiter came");
  fuzzCheck(reader.message() == text, "the message is what comes before the delimiter");
}

/// The first byte says how long the pieces are, the rest is the stream.
FrameReader fedInPieces(std::string_view bytes, std::size_t pieceLength) {
  FrameReader reader;
  for (std::size_t at = 0; at < bytes.size(); at += pieceLength) {
    const auto told = reader.feed(bytes.substr(at, pieceLength));
    fuzzCheck(told == reader.state(), "feed() returns the state");
  }
  return reader;
}

void checkFirstLine(std::string_view message) {
  const auto line = zolvex::firstLine(message);
  fuzzCheck(line.has_value() == (message.find_first_not_of('\n') != std::string_view::npos),
            "only a message of line feeds has no first line");
  if (!line) return;
  fuzzCheck(!line->empty() && line->find('\n') == std::string_view::npos, "a line is neither empty nor two lines");
  fuzzCheck(zolvex::firstLine(*line) == line, "the first line of a line is the line");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto input = fuzzText(data, size);
  if (input.empty()) return 0;
  const std::size_t pieceLength = data[0] + std::size_t{1};
  // Stretched, so that small inputs reach the limit too.
  std::string bytes(input.substr(1));
  if (pieceLength > 200)
    bytes.insert(0, zolvex::peerProtocol::maximumFrameLength - std::min(bytes.size(), pieceLength), 'x');

  FrameReader whole;
  whole.feed(bytes);
  checkAgainstDefinition(whole, bytes);
  checkAgainstDefinition(fedInPieces(bytes, pieceLength), bytes);
  checkFirstLine(whole.message());

  const auto state = whole.state();
  const auto message = whole.message();
  if (state != FrameReader::State::incomplete) {
    whole.feed("more\0"sv);
    fuzzCheck(whole.state() == state && whole.message() == message, "nothing after the end changes a frame");
  }
  return 0;
}
