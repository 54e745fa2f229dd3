#pragma once

#include "core/Time.h"

#include <functional>
#include <utility>

namespace zolvex {

/// A pending piece of delayed work on the main queue. Move-only; the work is cancelled when its handle is destroyed,
/// overwritten or told to cancel(), so a member WorkItem dies with the object whose work it is. Main thread only.
class WorkItem {
 public:
  WorkItem() = default;
  explicit WorkItem(std::function<void()> cancelWork) : cancelWork_(std::move(cancelWork)) {}
  WorkItem(WorkItem&& other) noexcept : cancelWork_(std::exchange(other.cancelWork_, nullptr)) {}
  WorkItem& operator=(WorkItem&& other) noexcept {
    if (this != &other) {
      cancel();
      cancelWork_ = std::exchange(other.cancelWork_, nullptr);
    }
    return *this;
  }
  ~WorkItem() { cancel(); }

  /// Idempotent; harmless after the work has run.
  void cancel() {
    if (auto cancelWork = std::exchange(cancelWork_, nullptr)) cancelWork();
  }

 private:
  std::function<void()> cancelWork_;
};

/// The queue that owns all published state. Work runs on the main thread, one piece at a time, in the order in which
/// it falls due; pieces due at the same moment run in the order of their submission.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// Civil time, from the clock that the delays of this queue follow. Any thread.
  virtual Date now() const = 0;

  /// Runs `work` on the main thread in a later turn. Any thread.
  virtual void async(std::function<void()> work) = 0;

  /// Runs `work` on the main thread `delay` from now, unless the returned handle is cancelled first. Work that is
  /// running may cancel or overwrite its own handle: it stays whole until it returns. Main thread.
  [[nodiscard]] virtual WorkItem after(Seconds delay, std::function<void()> work) = 0;

  /// Whether the caller is on the main thread. Any thread.
  virtual bool isCurrent() const = 0;
};

}  // namespace zolvex
