#include "support/ThreadMainQueue.h"

#include <future>

namespace zolvex::test {

ThreadMainQueue::ThreadMainQueue() : thread_([state = state_] { loop(*state); }) {}

ThreadMainQueue::~ThreadMainQueue() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->stopped = true;
    state_->wake.notify_one();
  }
  thread_.join();
}

void ThreadMainQueue::async(std::function<void()> work) {
  schedule(*state_, Clock::now(), std::move(work));
}

WorkItem ThreadMainQueue::after(Seconds delay, std::function<void()> work) {
  const auto due = Clock::now() + std::chrono::ceil<Clock::duration>(delay);
  const auto key = schedule(*state_, due, std::move(work));
  return WorkItem([weak = std::weak_ptr(state_), key] {
    if (const auto state = weak.lock()) {
      const std::lock_guard lock(state->mutex);
      state->scheduled.erase(key);
    }
  });
}

void ThreadMainQueue::run(const std::function<void()>& work) {
  std::promise<void> done;
  async([&] {
    work();
    done.set_value();
  });
  done.get_future().wait();
}

ThreadMainQueue::Key ThreadMainQueue::schedule(State& state, Clock::time_point due, std::function<void()> work) {
  const std::lock_guard lock(state.mutex);
  const Key key{due, state.nextSequence++};
  state.scheduled.emplace(key, std::move(work));
  state.wake.notify_one();
  return key;
}

void ThreadMainQueue::loop(State& state) {
  std::unique_lock lock(state.mutex);
  while (!state.stopped) {
    if (state.scheduled.empty()) {
      state.wake.wait(lock);
      continue;
    }
    const auto due = state.scheduled.begin()->first.first;
    if (Clock::now() < due) {
      state.wake.wait_until(lock, due);
      continue;
    }
    auto next = state.scheduled.extract(state.scheduled.begin());
    lock.unlock();
    next.mapped()();
    next = {};
    lock.lock();
  }
}

}  // namespace zolvex::test
