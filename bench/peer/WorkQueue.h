#pragma once

#include "core/MainQueue.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace zolvex::bench {

/// The smallest main queue that a transport can work with: a thread and a list of work, without delays.
class WorkQueue final : public MainQueue {
 public:
  WorkQueue();
  ~WorkQueue() override;

  Date now() const override { return std::chrono::system_clock::now(); }
  void async(std::function<void()> work) override;
  [[nodiscard]] WorkItem after(Seconds, std::function<void()>) override { return {}; }
  bool isCurrent() const override { return std::this_thread::get_id() == thread_.get_id(); }

 private:
  void loop();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> work_;
  bool isStopped_ = false;
  std::thread thread_;
};

}  // namespace zolvex::bench
