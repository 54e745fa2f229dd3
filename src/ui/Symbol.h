#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace zolvex {

/// Every symbol that may be shown. Each has its drawing, assets/symbols/NAME.svg.
inline constexpr auto symbolNames = std::to_array<std::string_view>({
    "arrow.right.circle",
    "arrow.triangle.2.circlepath",
    "bolt.fill",
    "checkmark.circle.fill",
    "chevron.down",
    "chevron.left",
    "chevron.right",
    "circle",
    "circle.dotted",
    "circle.lefthalf.filled",
    "computermouse",
    "desktopcomputer",
    "dot.radiowaves.left.and.right",
    "exclamationmark.triangle.fill",
    "gear",
    "hand.draw.fill",
    "hand.pinch.fill",
    "info.circle",
    "keyboard",
    "questionmark.circle",
    "rectangle.and.hand.point.up.left",
    "rectangle.connected.to.line.below",
    "slider.horizontal.3",
});

/// The name of a symbol. Made from a literal, which does not compile unless the list above has it.
class Symbol {
 public:
  consteval Symbol(const char* literal) : name_(literal) {  // NOLINT(google-explicit-constructor): tables read as text
    if (!isKnown(name_)) throw "no such symbol";
  }

  /// The symbol of a name that the rules computed; `name` must be in the list.
  static Symbol named(std::string_view name);

  constexpr std::string_view name() const { return name_; }
  bool operator==(const Symbol&) const = default;

 private:
  struct Computed {};
  constexpr Symbol(Computed, std::string_view name) : name_(name) {}

  static constexpr bool isKnown(std::string_view name) {
    return std::find(symbolNames.begin(), symbolNames.end(), name) != symbolNames.end();
  }

  std::string_view name_;
};

}  // namespace zolvex
