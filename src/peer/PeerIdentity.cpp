#include "peer/PeerIdentity.h"

#include "core/SettingsKeys.h"
#include "core/Text.h"
#include "core/Uuid.h"

#include <algorithm>

namespace zolvex {

namespace {

constexpr std::size_t shortIdentityLength = 6;  // characters

std::string withoutHyphens(std::string_view text) {
  std::string result(text);
  std::erase(result, '-');
  return result;
}

}  // namespace

std::string peerIdentity(UserDefaults& defaults) {
  const auto stored = defaults.string(settings::peerIdentityID);
  if (stored && !trimmed(*stored).empty()) return *stored;
  auto fresh = withoutHyphens(randomUuid());
  defaults.note(settings::peerIdentityID, fresh);
  return fresh;
}

std::string shortIdentity(std::string_view identity) {
  const auto plain = uppercased(trimmed(withoutHyphens(identity)));
  return std::string(firstCharacters(plain, shortIdentityLength));
}

std::string peerServiceName(std::string_view identity) {
  return "Zolvex-" + shortIdentity(identity);
}

}  // namespace zolvex
