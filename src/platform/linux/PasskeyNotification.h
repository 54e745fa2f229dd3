#pragma once

#include "core/Time.h"

#include <future>
#include <string>

namespace zolvex {

/// Tells the user by a desktop notification what to type on the device that is being paired; nothing happens where
/// there is no session bus or no notification service. It is sent by a thread of its own, so that a session bus that
/// hangs delays nobody; such a thread is left behind for the end of the process.
class PasskeyNotification {
 public:
  /// How long the end of this waits for a notification that is being sent.
  static constexpr Seconds sendLimit{0.5};

  PasskeyNotification() = default;
  ~PasskeyNotification();
  PasskeyNotification(const PasskeyNotification&) = delete;

  void show(const std::string& deviceName, const std::string& passkey);

 private:
  std::future<void> sent_;
};

}  // namespace zolvex
