// Stand-in for a worker executable. What it does is a list of steps in the environment variable STAND_IN, separated by
// semicolons and done in order: "exit N", "sleep SECONDS", "ignore SIGNAL", "raise SIGNAL", "print TEXT", "complain
// TEXT", "flood BYTES" (to standard output), "read" (standard input to its end, printed), "arguments" (printed),
// "signals" (prints which are blocked and ignored), "descriptors" (prints the numbers of the open ones),
// "grandchild SECONDS" (leaves a process behind that holds the pipes for so long).

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <time.h>
#include <unistd.h>

namespace {

void sleepFor(double seconds) {
  timespec left{static_cast<time_t>(seconds),
                static_cast<long>((seconds - static_cast<double>(static_cast<time_t>(seconds))) * 1e9)};
  while (nanosleep(&left, &left) != 0) continue;
}

/// Of the standard signals; the C library keeps two others for itself, as it found them.
void printSignals() {
  sigset_t blocked;
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  for (int number = 1; number < 32; ++number) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    if (sigismember(&blocked, number) == 1) std::cout << "blocked " << number << ' ';
    if (action.sa_handler == SIG_IGN) std::cout << "ignored " << number << ' ';
  }
  std::cout << "end of signals";
}

void printDescriptors() {
  std::set<int> open;
  for (int descriptor = 0; descriptor < 1024; ++descriptor)
    if (std::filesystem::exists(std::filesystem::symlink_status("/proc/self/fd/" + std::to_string(descriptor))))
      open.insert(descriptor);
  for (const int descriptor : open) std::cout << descriptor << ' ';
}

void leaveGrandchild(double seconds) {
  if (fork() != 0) return;
  sleepFor(seconds);
  _exit(0);
}

void perform(const std::string& verb, const std::string& rest, int argc, char** argv) {
  if (verb == "exit") std::exit(std::atoi(rest.c_str()));
  if (verb == "sleep") sleepFor(std::atof(rest.c_str()));
  if (verb == "ignore") std::signal(std::atoi(rest.c_str()), SIG_IGN);
  if (verb == "raise") std::raise(std::atoi(rest.c_str()));
  if (verb == "print") std::cout << rest << std::endl;
  if (verb == "complain") std::cerr << rest << std::endl;
  if (verb == "flood") std::cout << std::string(static_cast<std::size_t>(std::atol(rest.c_str())), 'x') << std::flush;
  if (verb == "read") std::cout << std::cin.rdbuf() << std::flush;
  if (verb == "arguments")
    for (int i = 1; i < argc; ++i) std::cout << argv[i] << '|';
  if (verb == "signals") printSignals();
  if (verb == "descriptors") printDescriptors();
  if (verb == "grandchild") leaveGrandchild(std::atof(rest.c_str()));
}

}  // namespace

int main(int argc, char** argv) {
  const char* plan = std::getenv("STAND_IN");
  std::istringstream steps(plan == nullptr ? "" : plan);
  for (std::string step; std::getline(steps, step, ';');) {
    const auto space = step.find(' ');
    perform(step.substr(0, space), space == std::string::npos ? "" : step.substr(space + 1), argc, argv);
  }
  return 0;
}
