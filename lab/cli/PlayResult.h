#pragma once

#include <QString>

namespace zolvex::lab {

/// How a play ended.
struct PlayResult {
  bool isSuccess = false;
  QString text;  ///< The last line.
};

}  // namespace zolvex::lab
