#pragma once

#include "lab/PrivateBus.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/LinuxSessionEvents.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

#include <vector>

namespace zolvex::test {

/// A main queue for tests with real services: work runs in the event loop, but delays pass when the test says so.
class RealWorkVirtualDelays final : public MainQueue {
 public:
  Date now() const override { return time_.now(); }
  void async(std::function<void()> work) override {
    queue_.async([this, work = std::move(work)] {
      ++workRun_;
      work();
    });
  }
  WorkItem after(Seconds delay, std::function<void()> work) override { return time_.after(delay, std::move(work)); }
  bool isCurrent() const override { return queue_.isCurrent(); }

  void advance(Seconds duration) { time_.advance(duration); }

  /// How many pieces of work have come without a delay, which is from other threads.
  int workRun() const { return workRun_; }

 private:
  int workRun_ = 0;
  QtMainQueue queue_;
  VirtualTime time_;
};

using Events = std::vector<SessionEvent>;

/// Writes down what happens to the session.
class EventRecorder {
 public:
  explicit EventRecorder(SessionEvents& events);
  const Events& events() const { return events_; }
  [[nodiscard]] bool become(const Events& expected) {
    return runUntil([&] { return events_.size() >= expected.size(); }) && events_ == expected;
  }

 private:
  Events events_;
  std::vector<Subscription> subscriptions_;
};

/// A bus with nothing on it, a link to it that has yet to be started, and the session's events. Tests add adapters.
struct SessionWorld : testing::Test {
  SessionWorld() { EXPECT_TRUE(bus.start()) << bus.errorString().toStdString(); }

  void connectLink();
  [[nodiscard]] bool logs(const std::string& line, int times = 1);

  /// What the link's users asked the bus to do before now is done when this returns.
  void settle();

  LogCapture log;
  lab::PrivateBus bus;
  RealWorkVirtualDelays queue;
  QtMainQueue linkQueue;  // a link retries in real time
  BusLink link{linkQueue, "test bus", bus.address().toStdString()};
  LinuxSessionEvents events{queue};
  EventRecorder recorder{events};
};

}  // namespace zolvex::test
