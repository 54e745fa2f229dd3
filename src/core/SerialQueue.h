#pragma once

#include <functional>

namespace zolvex {

/// A queue that runs its work one piece at a time, in submission order, away from the main thread.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;

  /// Any thread. The work may block.
  virtual void async(std::function<void()> work) = 0;
};

}  // namespace zolvex
