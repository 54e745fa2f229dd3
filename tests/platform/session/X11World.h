#pragma once

#include "platform/linux/X11DisplayPower.h"
#include "platform/session/SessionWorld.h"

#include <gtest/gtest.h>

namespace zolvex::test {

/// Display power as seen by way of an X server that the test provides.
struct X11World : testing::Test {
  void connectTo(const std::string& display) {
    power.emplace(queue, events.displayOff());
    power->start(display);
    ASSERT_TRUE(runUntil([&] { return power->isFollowing(); }));
  }
  [[nodiscard]] bool logs(const std::string& line, int times = 1) {
    return runUntil([&] { return log.count(line) == times; });
  }

  const Events offAndOn{SessionEvent::displayDidSleep, SessionEvent::displayDidWake};

  LogCapture log;
  RealWorkVirtualDelays queue;
  LinuxSessionEvents events{queue};
  EventRecorder recorder{events};
  std::optional<X11DisplayPower> power;
};

}  // namespace zolvex::test
