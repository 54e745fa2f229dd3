#pragma once

#include <optional>
#include <string>

namespace zolvex {

/// The names of this computer. Read at use; neither call blocks.
class LocalHostName {
 public:
  virtual ~LocalHostName() = default;

  /// The name its owner gave it ("Anna's Laptop"); none while unknown.
  virtual std::optional<std::string> localizedName() const = 0;

  /// Its host name; none when it has none.
  virtual std::optional<std::string> name() const = 0;
};

}  // namespace zolvex
