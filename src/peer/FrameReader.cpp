#include "peer/FrameReader.h"

#include "peer/PeerProtocol.h"

namespace zolvex {

FrameReader::State FrameReader::feed(std::string_view bytes) {
  if (state_ != State::incomplete) return state_;
  const auto end = bytes.find(peerProtocol::delimiter);
  const auto room = peerProtocol::maximumFrameLength - message_.size();
  const auto taken = bytes.substr(0, end);
  message_.append(taken.substr(0, room));
  if (taken.size() > room)
    state_ = State::tooLong;
  else if (end != std::string_view::npos)
    state_ = State::complete;
  return state_;
}

}  // namespace zolvex
