#include "lab/EndSignals.h"

#include <array>

namespace zolvex::lab {

namespace {

constexpr std::array forwardedSignals{SIGTERM, SIGINT, SIGHUP, SIGQUIT};

volatile sig_atomic_t forwardTarget = 0;

void forwardSignal(int signal) {
  if (forwardTarget > 0) kill(forwardTarget, signal);
}

}  // namespace

void handleEndSignal(int signal, void (*handler)(int)) {
  struct sigaction action {};
  if (signal == SIGHUP && sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigaction(signal, &action, nullptr);
}

HeldEndSignals::HeldEndSignals() {
  sigset_t held;
  sigemptyset(&held);
  for (const auto signal : forwardedSignals) sigaddset(&held, signal);
  sigprocmask(SIG_BLOCK, &held, &before_);
}

void HeldEndSignals::letGo() {
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void HeldEndSignals::forwardTo(pid_t child) {
  forwardTarget = child;
  for (const auto signal : forwardedSignals) handleEndSignal(signal, forwardSignal);
  letGo();
}

}  // namespace zolvex::lab
