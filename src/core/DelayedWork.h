#pragma once

#include "core/MainQueue.h"

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

namespace zolvex {

/// Delayed pieces of work on the main queue that are cancelled by nothing but the end of this object. Several may be
/// pending; where a later piece is to replace an earlier one, use a WorkItem. Main thread.
class DelayedWork {
 public:
  explicit DelayedWork(MainQueue& mainQueue) : mainQueue_(mainQueue) {}
  DelayedWork(const DelayedWork&) = delete;

  /// Runs `work` on the main thread `delay` from now.
  void after(Seconds delay, std::function<void()> work) {
    const auto key = nextKey_++;
    pending_[key] = mainQueue_.after(delay, [this, key, work = std::move(work)] {
      pending_.erase(key);
      work();
    });
  }

 private:
  MainQueue& mainQueue_;
  std::uint64_t nextKey_ = 0;
  std::map<std::uint64_t, WorkItem> pending_;
};

}  // namespace zolvex
