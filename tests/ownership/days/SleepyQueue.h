#pragma once

#include "support/VirtualTime.h"

#include <memory>
#include <set>
#include <vector>

namespace zolvex::test {

/// The main queue of a computer that can sleep: what falls due meanwhile runs, in order, once it is awake.
class SleepyQueue final : public MainQueue {
 public:
  explicit SleepyQueue(VirtualTime& time) : time_(time) {}

  void sleep() { isAsleep_ = true; }
  void wake();
  bool isAsleep() const { return isAsleep_; }

  /// Runs `work` now, or when the computer wakes.
  void whenAwake(std::function<void()> work);

  Date now() const override { return time_.now(); }
  void async(std::function<void()> work) override;
  [[nodiscard]] WorkItem after(Seconds delay, std::function<void()> work) override;

  /// The delay of each piece of delayed work that has neither run nor been cancelled.
  const std::multiset<Seconds>& pendingDelays() const { return *pending_; }

  bool isCurrent() const override { return time_.isCurrent(); }

 private:
  VirtualTime& time_;
  bool isAsleep_ = false;
  std::vector<std::function<void()>> held_;
  std::shared_ptr<std::multiset<Seconds>> pending_ = std::make_shared<std::multiset<Seconds>>();  // outlived by handles
};

}  // namespace zolvex::test
