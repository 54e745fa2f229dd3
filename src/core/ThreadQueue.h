#pragma once

#include "core/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace zolvex {

/// A serial queue with a thread of its own, which is started by the first piece of work.
/// Destruction drops the work that has not begun and waits for the piece that has.
class ThreadQueue final : public SerialQueue {
 public:
  /// `label` names the thread in debuggers (the kernel keeps the last 15 characters of it).
  explicit ThreadQueue(std::string label);
  ~ThreadQueue() override;

  void async(std::function<void()> work) override;

  /// Drops the work that has not begun, and later work at once. Does not wait for the piece that has. Idempotent.
  void refuseWork();

  /// Refuses work and waits for the piece that has begun. Idempotent.
  void stop();

 private:
  void run();

  const std::string label_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> pending_;
  bool stopped_ = false;
  std::thread thread_;
};

}  // namespace zolvex
