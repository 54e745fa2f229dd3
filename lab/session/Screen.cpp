#include "lab/session/Screen.h"

namespace zolvex::lab {

void Screen::setLocked(bool locked) {
  if (isLocked_ == locked) return;
  isLocked_ = locked;
  Q_EMIT lockedChanged(locked);
}

void Screen::setLit(bool lit) {
  if (isLit_ == lit) return;
  isLit_ = lit;
  Q_EMIT litChanged(lit);
}

void Screen::simulateActivity() {
  Q_EMIT activitySimulated();
  setLit(true);
}

}  // namespace zolvex::lab
