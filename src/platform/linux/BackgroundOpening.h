#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace zolvex {

/// Opens something that may block for ever, in a thread of its own, and brings it to the main queue. A thread that
/// hangs is left behind; what it opens after all goes when nobody takes it. Main thread.
template <class T>
class BackgroundOpening {
 public:
  using Open = std::function<std::unique_ptr<T>()>;

  /// Gets what was opened, or null.
  using Opened = std::function<void(std::unique_ptr<T>)>;

  explicit BackgroundOpening(MainQueue& mainQueue) : mainQueue_(mainQueue) {}
  ~BackgroundOpening() { cancel(); }
  BackgroundOpening(const BackgroundOpening&) = delete;

  /// In place of an attempt that has not ended, which tells nobody any more. `open` runs in the thread and must not
  /// refer to what may be gone by then.
  void start(Open open, Opened opened) {
    cancel();
    const auto attempt = std::make_shared<Attempt>();
    attempt->mainQueue = &mainQueue_;
    attempt_ = attempt;
    const auto ended = lifetime_.guard([this, attempt, opened = std::move(opened)] {
      if (attempt_ != attempt) return;
      attempt_ = nullptr;
      opened(std::move(attempt->result));
    });
    std::thread([attempt, ended, open = std::move(open)] {
      attempt->result = open();
      const std::lock_guard lock(attempt->mutex);
      if (attempt->mainQueue) attempt->mainQueue->async(ended);
    }).detach();
  }

  void cancel() {
    if (const auto attempt = std::exchange(attempt_, nullptr)) {
      const std::lock_guard lock(attempt->mutex);
      attempt->mainQueue = nullptr;
    }
  }

 private:
  /// Shared by the owner and the thread.
  struct Attempt {
    std::mutex mutex;
    MainQueue* mainQueue = nullptr;  // none once nobody waits
    std::unique_ptr<T> result;
  };

  MainQueue& mainQueue_;
  std::shared_ptr<Attempt> attempt_;
  Lifetime lifetime_;
};

}  // namespace zolvex
