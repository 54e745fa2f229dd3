#include "control/UnsavedChange.h"

namespace zolvex::control {

Refusal unsavedChange(const UserDefaults& defaults) {
  const auto problem = defaults.persistenceProblem();
  if (!problem) return std::nullopt;
  return ControlError{error::failed, "The change counts until Zolvex ends, it cannot be saved: " + *problem};
}

}  // namespace zolvex::control
