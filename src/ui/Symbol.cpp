#include "ui/Symbol.h"

#include <cassert>

namespace zolvex {

Symbol Symbol::named(std::string_view name) {
  const auto* const found = std::find(symbolNames.begin(), symbolNames.end(), name);
  assert(found != symbolNames.end());
  // The list's own text: `name` may not live long enough.
  return {Computed{}, found == symbolNames.end() ? symbolNames.front() : *found};
}

}  // namespace zolvex
