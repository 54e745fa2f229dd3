#include "ui/HotKeyState.h"

namespace zolvex {

std::string_view problemOf(HotKeyState state) {
  switch (state) {
    case HotKeyState::off:
    case HotKeyState::registered:
      return "";
    case HotKeyState::waiting:
      return "Waiting for the desktop to allow this shortcut.";
    case HotKeyState::heldByAnother:
      return "Another program uses this shortcut.";
    case HotKeyState::refused:
      return "The desktop does not allow this shortcut.";
  }
  return "";
}

}  // namespace zolvex
