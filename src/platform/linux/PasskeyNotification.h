#pragma once

#include "core/Time.h"

#include <memory>
#include <string>

namespace zolvex {

/// Tells the user by a desktop notification what to type on the device that is being paired; nothing happens where
/// there is no session bus or no notification service. It is sent by a thread of its own, so that a session bus that
/// hangs delays nobody; such a thread is left behind for the end of the process. There is one at a time: of the codes
/// that come while it sends one, the last is next.
class PasskeyNotification {
 public:
  /// How long the end of this waits for a notification that is being sent.
  static constexpr Seconds sendLimit{0.5};

  PasskeyNotification();
  ~PasskeyNotification();
  PasskeyNotification(const PasskeyNotification&) = delete;

  void show(const std::string& deviceName, const std::string& passkey);

 private:
  struct Outbox;

  const std::shared_ptr<Outbox> outbox_;
};

}  // namespace zolvex
