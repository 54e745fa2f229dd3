#pragma once

#include "lab/session/SessionAct.h"
#include "lab/world/World.h"

#include <QString>

namespace zolvex::lab {

/// What can be done to a world that stays, a line each: "fault FAULT", "lift", "who", and the acts of a user, for
/// example "lock Laptop". Owned by main(), used by all that takes such lines.
class Commands {
 public:
  explicit Commands(World& world) : world_(world) {}

  /// Obeys and tells `done` the outcome once, now or later; its text may have several lines, or none.
  void obey(const QString& line, const ActListener& done);

 private:
  QString whoHasWhat();

  World& world_;
};

}  // namespace zolvex::lab
