#pragma once

#include "core/LaunchAtLogin.h"

namespace zolvex::test {

/// A session in which launch at login can be switched on and off, or fails.
class FakeLaunchAtLogin final : public LaunchAtLogin {
 public:
  bool isEnabled = false;
  Failure failure;  ///< Of each operation.
  int changes = 0;

  Status status() const override { return {isEnabled}; }
  Failure enable() override { return change(true); }
  Failure disable() override { return change(false); }

 private:
  Failure change(bool enabled) {
    if (failure) return failure;
    isEnabled = enabled;
    ++changes;
    return std::nullopt;
  }
};

}  // namespace zolvex::test
