#pragma once

#include "core/MainQueue.h"
#include "core/SerialQueue.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace zolvex::test {

/// A main queue on virtual time: nothing runs until the test lets time pass, and then it all runs at once, in the
/// order in which it falls due and, for equal times, in the order of submission. One thread.
///
/// It also hosts virtual serial queues. Their work runs in the same thread but counts as done elsewhere: isCurrent()
/// is false meanwhile, and spend() makes the work take (virtual) time, so that what it hands back to the main queue
/// arrives when the work would have ended.
class VirtualTime final : public MainQueue {
 public:
  Date now() const override { return now_ + spent_; }
  void async(std::function<void()> work) override;
  [[nodiscard]] WorkItem after(Seconds delay, std::function<void()> work) override;
  bool isCurrent() const override { return !isElsewhere_; }

  /// Lets `duration` pass: runs everything that falls due in it, then stands at its end.
  void advance(Seconds duration);

  /// Runs what is due now, and what that makes due now.
  void runUntilIdle() { advance(Seconds(0)); }

  /// Within work of a virtual serial queue: the work takes `duration` (more).
  void spend(Seconds duration);

  /// Time since the start of the test.
  Seconds elapsed() const { return now() - start; }

 private:
  friend class VirtualSerialQueue;

  static constexpr Date start{std::chrono::hours(24 * 365 * 50)};

  using Key = std::pair<Date, std::uint64_t>;
  Key schedule(Date due, std::function<void()> work);
  Seconds runElsewhere(const std::function<void()>& work);

  Date now_ = start;
  Date::duration spent_{};
  bool isElsewhere_ = false;
  std::uint64_t nextSequence_ = 0;
  std::map<Key, std::function<void()>> scheduled_;
  std::shared_ptr<char> alive_ = std::make_shared<char>();
};

/// A serial queue whose work runs on the virtual time of a VirtualTime.
class VirtualSerialQueue final : public SerialQueue {
 public:
  explicit VirtualSerialQueue(VirtualTime& time) : time_(time) {}
  void async(std::function<void()> work) override;

  /// Whether all of its work has run and has reported back.
  bool isIdle() const { return waiting_ == 0 && time_.now() >= freeFrom_; }

  /// From now on work that has run is kept, as by a thread that has not come round to ending it.
  void keepFinishedWork() { keepsFinishedWork_ = true; }

 private:
  VirtualTime& time_;
  Date freeFrom_{};
  std::size_t waiting_ = 0;
  bool keepsFinishedWork_ = false;
  std::vector<std::function<void()>> finishedWork_;
};

}  // namespace zolvex::test
