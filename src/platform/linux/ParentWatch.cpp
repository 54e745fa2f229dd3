#include "platform/linux/ParentWatch.h"

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace zolvex {

namespace {

pid_t parent = 0;

/// The kernel tells the end of the thread that started this process; the rest of the parent may go on.
void parentThreadEnded(int) {
  if (getppid() != parent) kill(getpid(), SIGKILL);
}

}  // namespace

void endWithParent() {
  parent = getppid();
  struct sigaction action {};
  action.sa_handler = parentThreadEnded;
  action.sa_flags = SA_RESTART;
  sigaction(SIGUSR1, &action, nullptr);
  ::prctl(PR_SET_PDEATHSIG, SIGUSR1);
}

}  // namespace zolvex
