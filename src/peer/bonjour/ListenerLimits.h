#pragma once

#include "core/Time.h"
#include "peer/PeerProtocol.h"

#include <chrono>
#include <cstddef>

namespace zolvex {

/// How the listener protects itself against whoever connects to it. (The longest frame is part of the protocol:
/// peerProtocol::maximumFrameLength.)
struct ListenerLimits {
  std::size_t connections = 64;     ///< Accepted connections alive at once.
  std::chrono::seconds silence{1};  ///< For which the kernel keeps what connects and says nothing; 0: not at all.
  Seconds frame{10.0};              ///< From the connecting to the whole frame.
  Seconds reply{120.0};             ///< From the frame to the reply. Releasing many devices takes long.
  Seconds replyWhenFull = peerProtocol::commandTimeout;  ///< The same while others wait: the requester has given up.
  Seconds fullPause{1.0};                                ///< Between two looks for those.
  Seconds farewell{2.0};                                 ///< From the reply to the requester's end of the connection.
  std::size_t farewellBytes = 1 << 20;                   ///< What is read and discarded meanwhile.
  Seconds acceptPause{0.1};  ///< After accepting failed, for example for lack of descriptors.
  Seconds logPause{60.0};    ///< Between two log lines about the same kind of misbehaviour.
};

}  // namespace zolvex
