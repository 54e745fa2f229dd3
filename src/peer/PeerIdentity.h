#pragma once

#include "core/UserDefaults.h"

#include <string>
#include <string_view>

namespace zolvex {

/// This computer's identity: the stored one, or 32 upper-case hexadecimal digits that are made and stored now.
std::string peerIdentity(UserDefaults& defaults);

/// The first six characters of an identity after removing "-", trimming and upper-casing; all of them when there are
/// fewer.
std::string shortIdentity(std::string_view identity);

/// "Zolvex-" and the short identity: the name under which a computer is found on the network.
std::string peerServiceName(std::string_view identity);

}  // namespace zolvex
