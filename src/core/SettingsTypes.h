#pragma once

#include "core/UserDefaults.h"

#include <string_view>

namespace zolvex {

/// Whether `value` has the type of the setting `key`; one of another type reads like an absent one. Any type is right
/// for keys that are not ours, and where only the presence of a value matters.
bool hasItsType(std::string_view key, const DefaultsValue& value);

}  // namespace zolvex
