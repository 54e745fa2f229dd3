#pragma once

#include "ui/Colour.h"
#include "ui/Symbol.h"

#include <QString>

#include <string_view>

namespace zolvex {

inline QString qString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// Symbols and colours go to QML by their names; Symbol.qml and Theme.qml know what they look like.
inline QString qString(Symbol symbol) {
  return qString(symbol.name());
}
inline QString qString(Colour colour) {
  return qString(nameOf(colour));
}

}  // namespace zolvex
