#include "lab/world/Sandbox.h"

#include "lab/EndSignals.h"
#include "lab/SignalStatus.h"
#include "lab/world/SandboxMounts.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zolvex::lab {

namespace {

constexpr int namespaces = CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWPID;
constexpr auto outerProcessVariable = "ZOLVEX_LAB_WORLD";
constexpr auto advice =
    "\nRun it as root, or allow ordinary users to make namespaces:\n"
    "  sysctl -w user.max_user_namespaces=15000\n"
    "  sysctl -w kernel.unprivileged_userns_clone=1                (Debian)\n"
    "  sysctl -w kernel.apparmor_restrict_unprivileged_userns=0    (Ubuntu)\n"
    "In a container, start that with --privileged or with the capability SYS_ADMIN.";

int exitStatusOf(int waitStatus) {
  return WIFSIGNALED(waitStatus) ? signalStatusBase + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

/// Reaps whatever ends until `child` does.
int waitFor(pid_t child) {
  for (int status = 0;;) {
    const auto ended = wait(&status);
    if (ended == child) return exitStatusOf(status);
    if (ended < 0 && errno != EINTR) return EXIT_FAILURE;
  }
}

bool writeFile(const char* path, const std::string& text) {
  std::ofstream file(path);
  file << text << std::flush;
  return file.good();
}

/// Root of the new user namespace is the present user.
bool unshareAsOrdinaryUser() {
  const auto user = std::to_string(geteuid());
  const auto group = std::to_string(getegid());
  return unshare(CLONE_NEWUSER | namespaces) == 0 && writeFile("/proc/self/setgroups", "deny") &&
         writeFile("/proc/self/uid_map", "0 " + user + " 1") && writeFile("/proc/self/gid_map", "0 " + group + " 1");
}

/// The administrative directories, where ip and avahi-daemon are, are not on an ordinary user's path.
void completePath() {
  const auto* path = std::getenv("PATH");
  setenv("PATH", (std::string(path ? path : "/usr/bin:/bin") + ":/usr/sbin:/sbin").c_str(), 1);
}

/// The outer process reads from `errors` as long as it lives.
bool hasOuterProcessEnded(int errors) {
  pollfd state{errors, 0, 0};
  return poll(&state, 1, 0) > 0 && (state.revents & POLLERR) != 0;
}

/// The first process inside: prepares the file system, then starts the program and stays until that has ended. Returns
/// only in the program. What goes wrong before is written to `errors`.
void runFirstProcess(int errors, HeldEndSignals& signals) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (hasOuterProcessEnded(errors)) _exit(EXIT_FAILURE);  // before that could be asked for
  std::array<char, 32> number{};
  if (readlink("/proc/self", number.data(), number.size() - 1) > 0) setenv(outerProcessVariable, number.data(), 1);
  const auto failure = mountSandbox(Sandbox::directory);
  if (!failure.empty()) {
    [[maybe_unused]] const auto written = ::write(errors, failure.data(), failure.size());
    _exit(EXIT_FAILURE);
  }
  completePath();
  setenv("TMPDIR", (std::string(Sandbox::directory) + "/tmp").c_str(), 1);
  const auto program = fork();
  if (program != 0) {
    close(errors);
    signals.forwardTo(program);
    _exit(program < 0 ? EXIT_FAILURE : waitFor(program));
  }
  close(errors);
}

std::string readToEnd(int descriptor) {
  std::string text;
  std::array<char, 512> buffer{};
  for (ssize_t count = 0; (count = ::read(descriptor, buffer.data(), buffer.size())) > 0;)
    text.append(buffer.data(), static_cast<std::size_t>(count));
  close(descriptor);
  return text;
}

std::string impossibleBecause(const std::string& what) {
  return "No world can be made here: " + what + advice;
}

}  // namespace

std::variant<Sandbox::Inside, Sandbox::Ended, Sandbox::Impossible> Sandbox::enter() {
  const auto isUnshared = geteuid() == 0 && unshare(namespaces) == 0;
  if (!isUnshared && !unshareAsOrdinaryUser())
    return Impossible{impossibleBecause(std::string("new namespaces are refused: ") + std::strerror(errno))};
  std::array<int, 2> errors{};
  if (pipe(errors.data()) != 0) return Impossible{impossibleBecause("no pipe")};
  // At the first process inside they would be lost without a trace: the kernel drops what such a process does not
  // handle.
  HeldEndSignals signals;
  const auto first = fork();
  if (first < 0) return Impossible{impossibleBecause("no process")};
  if (first == 0) {
    close(errors[0]);
    runFirstProcess(errors[1], signals);
    return Inside{};
  }
  close(errors[1]);
  signals.forwardTo(first);
  const auto failure = readToEnd(errors[0]);
  const auto status = waitFor(first);
  if (!failure.empty()) return Impossible{impossibleBecause(failure)};
  return Ended{status};
}

std::string Sandbox::outerProcessId() {
  const auto* value = std::getenv(outerProcessVariable);
  return value ? value : "";
}

}  // namespace zolvex::lab
