#include "lab/EndSignals.h"

#include <csignal>

namespace zolvex::lab {

void handleEndSignal(int signal, void (*handler)(int)) {
  struct sigaction action {};
  if (signal == SIGHUP && sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigaction(signal, &action, nullptr);
}

}  // namespace zolvex::lab
