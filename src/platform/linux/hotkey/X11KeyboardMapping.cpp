#include "platform/linux/hotkey/X11KeyboardMapping.h"

#include <algorithm>
#include <array>
#include <xcb/xproto.h>

namespace zolvex {

namespace {

constexpr X11KeyboardMapping::Keysym numLock = 0xff7f;
constexpr X11KeyboardMapping::Keysym leftAlt = 0xffe9;
constexpr unsigned control = XCB_MOD_MASK_CONTROL;
constexpr unsigned capsLock = XCB_MOD_MASK_LOCK;
constexpr unsigned usualAlt = XCB_MOD_MASK_1;
constexpr std::uint8_t ansiD = 40;  // in the numbering of evdev, which today's servers use

}  // namespace

std::vector<std::uint8_t> X11KeyboardMapping::keycodesOf(Keysym keysym) const {
  std::vector<std::uint8_t> found;
  for (std::size_t column = 0; column < keysymsPerKeycode && found.empty(); ++column)
    for (std::size_t key = 0; key < keycodeCount(); ++key)
      if (keysyms[key * keysymsPerKeycode + column] == keysym)
        found.push_back(static_cast<std::uint8_t>(firstKeycode + key));
  return found;
}

std::uint16_t X11KeyboardMapping::maskOf(Keysym keysym) const {
  std::uint16_t mask = 0;
  for (std::size_t i = 0; i < modifierKeycodes.size(); ++i)
    if (means(modifierKeycodes[i], keysym)) mask = static_cast<std::uint16_t>(mask | 1u << i / keycodesPerModifier);
  return mask;
}

bool X11KeyboardMapping::means(std::uint8_t keycode, Keysym keysym) const {
  if (keycode < firstKeycode || keycode - firstKeycode >= static_cast<int>(keycodeCount())) return false;
  const auto first = keysyms.begin() + (keycode - firstKeycode) * static_cast<std::ptrdiff_t>(keysymsPerKeycode);
  const auto last = first + static_cast<std::ptrdiff_t>(keysymsPerKeycode);
  return std::find(first, last, keysym) != last;
}

std::vector<X11KeyCombination> X11KeyboardMapping::combinationsFor(const HotKey& hotKey) const {
  auto keycodes = keycodesOf(static_cast<Keysym>(hotKey.key));  // the keysyms of ASCII are its codes
  if (keycodes.empty()) keycodes.push_back(ansiD);
  const unsigned alt = maskOf(leftAlt) != 0 ? maskOf(leftAlt) : usualAlt;
  const unsigned wanted = (hotKey.withControl ? control : 0u) | (hotKey.withAlt ? alt : 0u);
  const unsigned num = maskOf(numLock);
  std::vector<X11KeyCombination> combinations;
  for (const auto keycode : keycodes)
    for (const unsigned locks : {0u, capsLock, num, num | capsLock})
      if (const X11KeyCombination next{keycode, static_cast<std::uint16_t>(wanted | locks)};
          std::find(combinations.begin(), combinations.end(), next) == combinations.end())
        combinations.push_back(next);
  return combinations;
}

}  // namespace zolvex
