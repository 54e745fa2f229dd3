#pragma once

#include "control/ControlNames.h"

#include <optional>
#include <string>

namespace zolvex::control {

/// Why an operation was refused: a name for programs and a text for people.
struct ControlError {
  QLatin1StringView name;
  std::string text;
};

/// None means that the operation was accepted.
using Refusal = std::optional<ControlError>;

}  // namespace zolvex::control
