#include "ui/PeerPresentation.h"

#include "core/Text.h"
#include "peer/NetworkDeviceStore.h"

namespace zolvex {

namespace {

constexpr std::size_t labelLength = 6;

std::string reachability(const NetworkDevice& peer, Date now) {
  return NetworkDeviceStore::isReachable(peer, now) ? "reachable" : "waiting";
}

}  // namespace

PeerStatusPresentation presentPeerStatus(const NetworkDevice* peer, Date now) {
  if (!peer) return {Colour::gray, "No peer added"};
  return {peerDot(*peer, now), "Peer " + reachability(*peer, now) + ", " + peerLabel(*peer)};
}

std::string peerLabel(const NetworkDevice& peer) {
  if (peer.id == peer.name && peer.host) return *peer.host;
  auto id = peer.id;
  std::erase(id, '-');
  return "ID " + std::string(firstCharacters(uppercased(trimmed(id)), labelLength));
}

Colour peerDot(const NetworkDevice& peer, Date now) {
  return NetworkDeviceStore::isReachable(peer, now) ? Colour::green : Colour::gray;
}

std::string peerSummary(const NetworkDevice* peer, std::size_t discoveredCount, Date now) {
  if (peer) return peer->name + ", " + reachability(*peer, now) + ", " + peerLabel(*peer);
  if (discoveredCount == 0) return "Searching";
  if (discoveredCount == 1) return "1 Mac found";
  return std::to_string(discoveredCount) + " Macs found";
}

}  // namespace zolvex
