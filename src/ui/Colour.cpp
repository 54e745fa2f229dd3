#include "ui/Colour.h"

namespace zolvex {

std::string_view nameOf(Colour colour) {
  switch (colour) {
    case Colour::primary:
      return "primary";
    case Colour::secondary:
      return "secondary";
    case Colour::tertiary:
      return "tertiary";
    case Colour::accent:
      return "accent";
    case Colour::green:
      return "green";
    case Colour::gray:
      return "gray";
    case Colour::orange:
      return "orange";
    case Colour::red:
      return "red";
    case Colour::blue:
      return "blue";
  }
  return "";
}

}  // namespace zolvex
