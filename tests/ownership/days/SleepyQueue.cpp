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
  const auto isPending = std::make_shared<bool>(true);
  const auto end = [pending = pending_, isPending, delay] {
    if (!std::exchange(*isPending, false)) return false;
    pending->erase(pending->find(delay));
    return true;
  };
  pending_->insert(delay);
  const auto unlessCancelled = [end, work = std::move(work)] {
    if (end()) work();
  };
  const auto timer =
      std::make_shared<WorkItem>(time_.after(delay, [this, unlessCancelled] { whenAwake(unlessCancelled); }));
  return WorkItem([end, timer] {
    end();
    timer->cancel();
  });
}

}  // namespace zolvex::test
