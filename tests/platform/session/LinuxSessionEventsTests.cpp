#include "platform/linux/LinuxSessionEvents.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zolvex::test {
namespace {

struct LinuxSessionEventsTest : testing::Test {
  LogCapture log;
  VirtualTime time;
  LinuxSessionEvents events{time};
};

TEST_F(LinuxSessionEventsTest, eachAspectHasTwoEventsAndEachEventALogLine) {
  const std::vector<SessionEvent> all{SessionEvent::systemWillSleep, SessionEvent::systemDidWake,
                                      SessionEvent::displayDidSleep, SessionEvent::displayDidWake,
                                      SessionEvent::screenLocked,    SessionEvent::screenUnlocked};
  std::vector<SessionEvent> happened;
  std::vector<Subscription> subscriptions;
  for (const auto event : all)
    subscriptions.push_back(events.observe(event, [&happened, event] { happened.push_back(event); }));
  for (auto* aspect : {&events.systemAsleep(), &events.displayOff(), &events.screenLocked()}) {
    const auto source = aspect->addSource("a service");
    aspect->changed(source, true);
    aspect->changed(source, false);
  }
  EXPECT_EQ(happened, all);
  const std::vector<std::string> lines{"System will sleep (a service)", "System woke up (a service)",
                                       "Display went off (a service)",  "Display came on (a service)",
                                       "Screen locked (a service)",     "Screen unlocked (a service)"};
  EXPECT_EQ(log.lines(), lines);
}

TEST_F(LinuxSessionEventsTest, whoeverLeftIsNotTold) {
  int locks = 0;
  auto subscription = events.observe(SessionEvent::screenLocked, [&] { ++locks; });
  subscription.cancel();
  events.screenLocked().changed(events.screenLocked().addSource("a service"), true);
  EXPECT_EQ(locks, 0);
}

}  // namespace
}  // namespace zolvex::test
