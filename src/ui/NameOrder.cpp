#include "ui/NameOrder.h"

#include "core/Text.h"

#include <algorithm>
#include <compare>
#include <string>

namespace zolvex {

namespace {

constexpr std::string_view digits = "0123456789";

bool startsWithDigit(std::string_view text) {
  return !text.empty() && digits.find(text.front()) != std::string_view::npos;
}

/// Takes the number at the beginning of `text`, without leading zeros.
std::string_view takeNumber(std::string_view& text) {
  auto number = text.substr(0, text.find_first_not_of(digits));
  text.remove_prefix(number.size());
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

/// Of any length: a number without leading zeros is the greater, the longer it is.
std::strong_ordering compareNumbers(std::string_view one, std::string_view other) {
  if (one.size() != other.size()) return one.size() <=> other.size();
  return one <=> other;
}

std::strong_ordering compareFirst(std::string_view& one, std::string_view& other) {
  if (startsWithDigit(one) && startsWithDigit(other)) return compareNumbers(takeNumber(one), takeNumber(other));
  const auto order = static_cast<unsigned char>(one.front()) <=> static_cast<unsigned char>(other.front());
  one.remove_prefix(1);
  other.remove_prefix(1);
  return order;
}

}  // namespace

bool naturalOrder(std::string_view one, std::string_view other) {
  const auto foldedOne = lowercased(one);
  const auto foldedOther = lowercased(other);
  std::string_view left = foldedOne;
  std::string_view right = foldedOther;
  while (!left.empty() && !right.empty())
    if (const auto order = compareFirst(left, right); order != std::strong_ordering::equal) return std::is_lt(order);
  return left.empty() && !right.empty();
}

}  // namespace zolvex
