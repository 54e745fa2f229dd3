#pragma once

#include <string_view>

namespace zolvex {

/// How it stands with the global hot key.
enum class HotKeyState {
  off,            ///< Switched off in the settings.
  waiting,        ///< The desktop has not answered yet; without a display there is none that ever will.
  registered,     ///< It works.
  heldByAnother,  ///< Another program has it.
  refused,        ///< The desktop or its user does not want it.
};

/// What keeps the hot key from working, for a tooltip; empty when nothing does.
std::string_view problemOf(HotKeyState state);

}  // namespace zolvex
