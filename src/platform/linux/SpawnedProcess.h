#pragma once

#include "core/Time.h"
#include "platform/linux/FileDescriptor.h"

#include <atomic>
#include <mutex>
#include <sys/types.h>

namespace zolvex {

/// A direct child of this process, from its start until it has been reaped. Shared by whoever works with it and the
/// launcher, which reaps it when nobody else does. Signals go only to a child that has not been reaped, so they cannot
/// hit a stranger with a reused id. Any thread.
class SpawnedProcess {
 public:
  /// How the end of a child is noticed: through a process descriptor where the kernel has them, else by looking again
  /// and again.
  enum class Waiting { byDescriptor, byLooking };

  /// Reported for a child whose status somebody else has taken.
  static constexpr int unknownExitStatus = 255;

  SpawnedProcess(pid_t id, Waiting waiting);

  /// Reaps the child if it has ended; true when it has been reaped, now or earlier. Never blocks.
  bool reap();

  /// Blocks until the child has ended or `limit` has passed; true when it has ended.
  bool waitForExit(Seconds limit);

  /// Blocks until `writable` takes bytes or has lost its reader, the child has ended, or `limit` has passed.
  void waitToWrite(int writable, Seconds limit) const;

  void signal(int number);

  /// 128 + the signal's number when a signal ended it. 0 before the end.
  int exitStatus() const { return exitStatus_; }

 private:
  void waitForChange(Seconds limit) const;

  static constexpr Seconds lookInterval{0.005};

  const pid_t id_;
  const FileDescriptor descriptor_;
  std::mutex mutex_;
  bool isReaped_ = false;
  std::atomic<int> exitStatus_ = 0;
};

}  // namespace zolvex
