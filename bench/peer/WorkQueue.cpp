#include "peer/WorkQueue.h"

#include <utility>

namespace zolvex::bench {

WorkQueue::WorkQueue() : thread_([this] { loop(); }) {}

WorkQueue::~WorkQueue() {
  {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    wake_.notify_one();
  }
  thread_.join();
}

void WorkQueue::async(std::function<void()> work) {
  const std::lock_guard lock(mutex_);
  work_.push_back(std::move(work));
  wake_.notify_one();
}

void WorkQueue::loop() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return isStopped_ || !work_.empty(); });
    if (isStopped_) return;
    const auto work = std::exchange(work_, {});
    lock.unlock();
    for (const auto& each : work) each();
    lock.lock();
  }
}

}  // namespace zolvex::bench
