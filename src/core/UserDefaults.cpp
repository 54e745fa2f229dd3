#include "core/UserDefaults.h"

#include <utility>

namespace zolvex {

void UserDefaults::registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults) {
  for (auto& [key, value] : defaults) registered_.insert_or_assign(key, std::move(value));
}

}  // namespace zolvex
