#pragma once

namespace zolvex::lab {

/// Has `handler` called at `signal`, one of those that ask a program to end. SIGHUP stays ignored where it is: what
/// nohup has started goes on when the terminal is closed. Interrupted system calls are begun again.
void handleEndSignal(int signal, void (*handler)(int));

}  // namespace zolvex::lab
