#pragma once

#include "core/Published.h"

#include <optional>
#include <string>

namespace zolvex {

/// The names of this computer. Read at use; neither call blocks. Main thread.
class LocalHostName {
 public:
  virtual ~LocalHostName() = default;

  /// The name its owner gave it ("Anna's Laptop"); none while unknown.
  virtual std::optional<std::string> localizedName() const = 0;

  /// Its host name; none when it has none.
  virtual std::optional<std::string> name() const = 0;

  /// Told after the localized name has changed.
  Signal<> changed;
};

}  // namespace zolvex
