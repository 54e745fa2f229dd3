#pragma once

#include <sys/types.h>
#include <vector>

namespace zolvex::lab {

/// Stops a process and all its descendants, as a computer that falls asleep does, and lets them go on. Neither waits
/// longer than a moment.
class ProcessTree {
 public:
  /// `root` is a child of this process that has not been waited for.
  explicit ProcessTree(pid_t root) : root_(root) {}

  void freeze();
  void thaw();
  bool isFrozen() const { return !frozen_.empty(); }

  /// Process ids of all descendants that there are now.
  static std::vector<pid_t> descendantsOf(pid_t process);

 private:
  bool freezeNewOnes();

  pid_t root_;
  std::vector<pid_t> frozen_;
};

}  // namespace zolvex::lab
