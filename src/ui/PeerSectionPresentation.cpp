#include "ui/PeerSectionPresentation.h"

#include "ui/PeerPresentation.h"

namespace zolvex {

namespace {

PeerRow discoveredRow(const NetworkDevice& peer, Date now) {
  return {.id = peer.id,
          .name = peer.name,
          .dot = peerDot(peer, now),
          .detail = peerLabel(peer),
          .button = "Add",
          .isProminent = true,
          .tint = Colour::accent};
}

PeerRow registeredRow(const NetworkDevice& peer, Date now) {
  return {.id = peer.id,
          .name = peer.name,
          .dot = peerDot(peer, now),
          .detail = peerSummary(&peer, 0, now),
          .button = "Remove",
          .isProminent = false,
          .tint = Colour::red};
}

}  // namespace

PeerSectionPresentation presentPeerSection(const NetworkDevice* peer, std::span<const NetworkDevice> discovered,
                                           Date now) {
  PeerSectionPresentation section;
  if (peer) {
    section.registered = registeredRow(*peer, now);
    return section;
  }
  if (discovered.empty()) section.searching = "Searching for peer...";
  for (const auto& device : discovered) section.discovered.push_back(discoveredRow(device, now));
  return section;
}

}  // namespace zolvex
