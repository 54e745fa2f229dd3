#pragma once

#include "ui/HotKeys.h"

#include <cstdint>
#include <vector>

namespace zolvex {

/// A key by its code, and the modifiers that are down with it, as X11 numbers them.
struct X11KeyCombination {
  std::uint8_t keycode = 0;
  std::uint16_t modifiers = 0;

  bool operator==(const X11KeyCombination&) const = default;
};

/// What the keys of an X server mean: its core keyboard and modifier mappings.
struct X11KeyboardMapping {
  using Keysym = std::uint32_t;

  std::uint8_t firstKeycode = 0;
  std::size_t keysymsPerKeycode = 0;
  std::vector<Keysym> keysyms;  ///< Of each keycode, from the first on.
  std::size_t keycodesPerModifier = 0;
  std::vector<std::uint8_t> modifierKeycodes;  ///< Of each modifier, Shift first; 0 for none.

  /// All keys with this meaning in the first layout and level in which any key has it; none where no key has.
  std::vector<std::uint8_t> keycodesOf(Keysym keysym) const;

  /// The mask of all modifiers that a key with this meaning stands for; 0 for none.
  std::uint16_t maskOf(Keysym keysym) const;

  /// What to grab, so that `hotKey` works whether or not Caps Lock and Num Lock are on. On a layout without Latin
  /// letters it is the key at the place of the D of an ANSI keyboard.
  std::vector<X11KeyCombination> combinationsFor(const HotKey& hotKey) const;

 private:
  std::size_t keycodeCount() const { return keysymsPerKeycode == 0 ? 0 : keysyms.size() / keysymsPerKeycode; }
  bool means(std::uint8_t keycode, Keysym keysym) const;
};

}  // namespace zolvex
