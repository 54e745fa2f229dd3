#pragma once

#include "core/Time.h"
#include "peer/NetworkDevice.h"
#include "ui/Colour.h"

#include <cstddef>
#include <string>

namespace zolvex {

/// The popover's row that tells whether the other computer answers. Reachability fades as time passes without any
/// event, so it is as of the `now` that it was made with.
struct PeerStatusPresentation {
  Colour dot;
  std::string text;

  bool operator==(const PeerStatusPresentation&) const = default;
};

/// `peer` is the registered one, or null.
PeerStatusPresentation presentPeerStatus(const NetworkDevice* peer, Date now);

/// How a peer is told from others: its host when its name says nothing, otherwise the beginning of its identifier.
std::string peerLabel(const NetworkDevice& peer);

/// Green when reachable, otherwise gray.
Colour peerDot(const NetworkDevice& peer, Date now);

/// One line on the peer: `peer` is the registered one, or null; then the number of those seen counts.
std::string peerSummary(const NetworkDevice* peer, std::size_t discoveredCount, Date now);

}  // namespace zolvex
