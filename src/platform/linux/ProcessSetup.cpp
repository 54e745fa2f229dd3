#include "platform/linux/ProcessSetup.h"

#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace zolvex {

namespace {

bool isClosed(int descriptor) {
  return fcntl(descriptor, F_GETFD) < 0;
}

/// From the lowest on, as a file that is opened gets the lowest free number.
void openStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (isClosed(stream) && open("/dev/null", O_RDWR) != stream) return;
}

void doNothing(int) {}

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigaction(signal, &action, nullptr);
}

}  // namespace

void setUpProcess() {
  openStandardStreams();
  handle(SIGCHLD, SIG_DFL);
  handle(SIGPIPE, doNothing);  // a handler, not SIG_IGN: children must not inherit it
}

}  // namespace zolvex
