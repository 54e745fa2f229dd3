#pragma once

#include <csignal>
#include <sys/types.h>

namespace zolvex::lab {

/// Has `handler` called at `signal`, one of those that ask a program to end. SIGHUP stays ignored where it is: what
/// nohup has started goes on when the terminal is closed. Interrupted system calls are begun again.
void handleEndSignal(int signal, void (*handler)(int));

/// Keeps the signals that ask a program to end waiting while it starts a child that they are meant for: neither is one
/// lost nor does it end this process alone. A child inherits that. One object at a time; one child in a process's life.
class HeldEndSignals {
 public:
  HeldEndSignals();
  ~HeldEndSignals() { letGo(); }
  HeldEndSignals(const HeldEndSignals&) = delete;

  /// They come as they did before.
  void letGo();

  /// They go on to `child`, and so do all that come later.
  void forwardTo(pid_t child);

 private:
  sigset_t before_{};
};

}  // namespace zolvex::lab
