#pragma once

#include "support/Patience.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <chrono>

namespace zolvex::test {

/// Lets the event loop run until `condition` holds, looking after each event and, as the condition may depend on what
/// sends this process no event, every few milliseconds. False when it still does not hold after `limit`.
template <class Condition>
[[nodiscard]] bool runUntil(Condition condition, std::chrono::milliseconds limit = patience) {
  const QDeadlineTimer deadline(limit, Qt::PreciseTimer);
  QTimer heartbeat;
  heartbeat.start(std::chrono::milliseconds(20));
  while (!condition()) {
    if (deadline.hasExpired()) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  return true;
}

/// Handles everything that is pending now.
inline void runPending() {
  QCoreApplication::processEvents();
}

}  // namespace zolvex::test
