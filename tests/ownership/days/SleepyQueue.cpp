#include "SleepyQueue.h"

namespace zolvex::test {

void SleepyQueue::wake() {
  isAsleep_ = false;
  for (auto& work : std::exchange(held_, {})) async(std::move(work));
}

void SleepyQueue::whenAwake(std::function<void()> work) {
  if (isAsleep_)
    held_.push_back(std::move(work));
  else
    work();
}

void SleepyQueue::async(std::function<void()> work) {
  time_.async([this, work = std::move(work)] { whenAwake(work); });
}

WorkItem SleepyQueue::after(Seconds delay, std::function<void()> work) {
  const auto isCancelled = std::make_shared<bool>(false);
  const auto unlessCancelled = [isCancelled, work = std::move(work)] {
    if (!*isCancelled) work();
  };
  const auto timer =
      std::make_shared<WorkItem>(time_.after(delay, [this, unlessCancelled] { whenAwake(unlessCancelled); }));
  return WorkItem([isCancelled, timer] {
    *isCancelled = true;
    timer->cancel();
  });
}

}  // namespace zolvex::test
