#pragma once

#include "core/Time.h"
#include "peer/NetworkDevice.h"
#include "ui/Colour.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zolvex {

/// A peer with what can be done with it.
struct PeerRow {
  std::string id;
  std::string name;
  Colour dot;
  std::string detail;
  std::string_view button;
  bool isProminent;  ///< The button.
  Colour tint;       ///< The button's.

  bool operator==(const PeerRow&) const = default;
};

/// The content of the settings' peer section: the registered peer, or those to choose from.
struct PeerSectionPresentation {
  std::string_view searching;  ///< Empty when something was found.
  std::vector<PeerRow> discovered;
  std::optional<PeerRow> registered;

  bool operator==(const PeerSectionPresentation&) const = default;
};

/// `peer` is the registered one, or null. `discovered` keeps its order.
PeerSectionPresentation presentPeerSection(const NetworkDevice* peer, std::span<const NetworkDevice> discovered,
                                           Date now);

}  // namespace zolvex
