#pragma once

#include <QString>

#include <string_view>

namespace zolvex::control {

inline QString qString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace zolvex::control
