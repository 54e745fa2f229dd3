#pragma once

#include <functional>
#include <string_view>

namespace zolvex {

/// Whether the first name is listed before the second. A strict weak order.
using NameOrder = std::function<bool(std::string_view, std::string_view)>;

/// The order of names in file managers, as far as it depends on no language: letters without regard to their case (of
/// ASCII), numbers by their value. A toolkit that knows the user's language has a better one.
bool naturalOrder(std::string_view one, std::string_view other);

}  // namespace zolvex
