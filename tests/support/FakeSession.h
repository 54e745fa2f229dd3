#pragma once

#include "ownership/DisplayWaker.h"
#include "ownership/SessionEvents.h"
#include "ownership/SleepInhibitor.h"

#include <map>

namespace zolvex::test {

/// The session of a computer that a test plays: it says what happens, and sees what is asked for.
class FakeSession final : public SessionEvents, public DisplayWaker, public SleepInhibitor {
 public:
  void happens(SessionEvent event) { events_[event].emit(); }

  int displayWakes = 0;
  int sleepsAllowed = 0;

  Subscription observe(SessionEvent event, std::function<void()> observer) override {
    return events_[event].observe(std::move(observer));
  }
  void wakeDisplay() override { ++displayWakes; }
  void allowSleep() override { ++sleepsAllowed; }

 private:
  std::map<SessionEvent, Signal<>> events_;
};

}  // namespace zolvex::test
