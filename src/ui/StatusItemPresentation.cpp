#include "ui/StatusItemPresentation.h"

namespace zolvex {

StatusItemPresentation presentStatusItem(bool isSwitching, bool anyConnected) {
  if (isSwitching) return {"arrow.triangle.2.circlepath", "quenmar.zolvex.app.switching-symbolic"};
  if (anyConnected) return {"hand.pinch.fill", "quenmar.zolvex.app.here-symbolic"};
  return {"circle.dotted", "quenmar.zolvex.app.away-symbolic"};
}

StatusItemMenu presentStatusItemMenu(bool anyConnected) {
  return {.action = presentMainAction(anyConnected).primary};
}

}  // namespace zolvex
