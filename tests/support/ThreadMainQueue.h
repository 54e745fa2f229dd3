#pragma once

#include "core/MainQueue.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace zolvex::test {

/// A main queue in real time, on a thread of its own, so that a test may block in what it plays (a peer, a process)
/// while the program's main thread goes on.
class ThreadMainQueue final : public MainQueue {
 public:
  ThreadMainQueue();
  ~ThreadMainQueue() override;

  Date now() const override { return std::chrono::system_clock::now(); }
  void async(std::function<void()> work) override;
  [[nodiscard]] WorkItem after(Seconds delay, std::function<void()> work) override;
  bool isCurrent() const override { return std::this_thread::get_id() == thread_.get_id(); }

  /// Runs `work` on the queue and waits until it has run. Not from the queue itself.
  void run(const std::function<void()>& work);

 private:
  using Clock = std::chrono::steady_clock;
  using Key = std::pair<Clock::time_point, std::uint64_t>;

  struct State {
    std::mutex mutex;
    std::condition_variable wake;
    std::map<Key, std::function<void()>> scheduled;
    std::uint64_t nextSequence = 0;
    bool stopped = false;
  };

  static Key schedule(State& state, Clock::time_point due, std::function<void()> work);
  static void loop(State& state);

  std::shared_ptr<State> state_ = std::make_shared<State>();
  std::thread thread_;
};

}  // namespace zolvex::test
