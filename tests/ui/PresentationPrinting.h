#pragma once

#include "ui/Colour.h"
#include "ui/Symbol.h"

#include <ostream>

namespace zolvex {

// What a failing comparison prints.
inline void PrintTo(const Symbol& symbol, std::ostream* out) {
  *out << symbol.name();
}
inline void PrintTo(Colour colour, std::ostream* out) {
  *out << nameOf(colour);
}

}  // namespace zolvex
