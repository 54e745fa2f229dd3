#pragma once

#include "platform/linux/SdBus.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace zolvex {

/// The value of a property of a simple type; std::monostate for one of any other type.
using BluezValue = std::variant<std::monostate, bool, std::int64_t, std::string>;

/// The properties of one interface of one object, as BlueZ sent them. Those of other than simple types are left out.
class BluezProperties {
 public:
  /// Reads a dictionary (a{sv}) at which the message stands. False when something else stands there.
  bool read(sd_bus_message* message);

  /// None when there is no such property, or it is of another type.
  template <class Type>
  std::optional<Type> value(std::string_view name) const {
    const auto found = values_.find(name);
    const auto* held = found == values_.end() ? nullptr : std::get_if<Type>(&found->second);
    return held ? std::optional(*held) : std::nullopt;
  }
  std::string text(std::string_view name) const { return value<std::string>(name).value_or(std::string()); }
  bool flag(std::string_view name, bool otherwise = false) const { return value<bool>(name).value_or(otherwise); }

  /// Takes over the values of `newer`.
  void merge(BluezProperties newer);

 private:
  std::map<std::string, BluezValue, std::less<>> values_;
};

/// Reads a variant at which the message stands; std::monostate also when something else stands there.
BluezValue readBluezValue(sd_bus_message* message);

}  // namespace zolvex
