#include "platform/linux/BluezAddress.h"

#include "core/Text.h"

#include <algorithm>
#include <cstddef>

namespace zolvex {

namespace {

constexpr std::size_t addressLength = 17;
constexpr std::size_t groupLength = 3;  // two digits and what separates them from the next

bool isHexadecimal(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
}

}  // namespace

std::optional<std::string> bluezAddress(std::string_view text) {
  if (text.size() != addressLength) return std::nullopt;
  auto address = uppercased(text);
  const char separator = address[groupLength - 1];
  if (separator != ':' && separator != '-') return std::nullopt;
  for (std::size_t i = 0; i < address.size(); ++i) {
    const bool separates = i % groupLength == groupLength - 1;
    if (separates ? address[i] != separator : !isHexadecimal(address[i])) return std::nullopt;
  }
  std::replace(address.begin(), address.end(), '-', ':');
  return address;
}

std::string printedAddress(std::string bluezAddress) {
  std::replace(bluezAddress.begin(), bluezAddress.end(), ':', '-');
  return bluezAddress;
}

bool isSameAddress(std::string_view left, std::string_view right) {
  return uppercased(left) == uppercased(right);
}

}  // namespace zolvex
