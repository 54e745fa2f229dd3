#include "support/VirtualTime.h"

#include <algorithm>

namespace zolvex::test {

namespace {

Date::duration ticks(Seconds duration) {
  return std::chrono::round<Date::duration>(duration);
}

}  // namespace

void VirtualTime::async(std::function<void()> work) {
  schedule(now(), std::move(work));
}

WorkItem VirtualTime::after(Seconds delay, std::function<void()> work) {
  const auto key = schedule(now() + ticks(delay), std::move(work));
  return WorkItem([this, key, alive = std::weak_ptr(alive_)] {
    if (!alive.expired()) scheduled_.erase(key);
  });
}

void VirtualTime::advance(Seconds duration) {
  const auto end = now_ + ticks(duration);
  while (!scheduled_.empty() && scheduled_.begin()->first.first <= end) {
    auto next = scheduled_.extract(scheduled_.begin());
    now_ = std::max(now_, next.key().first);
    next.mapped()();
  }
  now_ = end;
}

void VirtualTime::spend(Seconds duration) {
  if (isElsewhere_) spent_ += ticks(duration);
}

VirtualTime::Key VirtualTime::schedule(Date due, std::function<void()> work) {
  const Key key{due, nextSequence_++};
  scheduled_.emplace(key, std::move(work));
  return key;
}

Seconds VirtualTime::runElsewhere(const std::function<void()>& work) {
  isElsewhere_ = true;
  work();
  isElsewhere_ = false;
  return std::exchange(spent_, {});
}

void VirtualSerialQueue::async(std::function<void()> work) {
  // Work is taken up when the queue is free; how long it takes is known only when it has run.
  const auto begin = std::max(time_.now(), freeFrom_);
  ++waiting_;
  time_.schedule(begin, [this, work = std::move(work)]() mutable {
    --waiting_;
    if (time_.now() < freeFrom_) return async(std::move(work));
    freeFrom_ = time_.now();
    freeFrom_ += ticks(time_.runElsewhere(work));
    if (keepsFinishedWork_) finishedWork_.push_back(std::move(work));
  });
}

}  // namespace zolvex::test
