#include "platform/linux/SpawnedProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <limits>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace zolvex {

namespace {

using Clock = std::chrono::steady_clock;

/// Not open where the kernel, or a filter in front of it, does not offer it.
FileDescriptor openProcessDescriptor(pid_t id) {
  return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, id, 0)));
}

int milliseconds(Seconds duration) {
  const double rounded = std::ceil(duration.count() * 1000);
  return static_cast<int>(std::clamp(rounded, 0.0, static_cast<double>(std::numeric_limits<int>::max())));
}

int statusOf(const siginfo_t& info) {
  constexpr int signalBase = 128;
  return info.si_code == CLD_EXITED ? info.si_status : signalBase + info.si_status;
}

}  // namespace

SpawnedProcess::SpawnedProcess(pid_t id, Waiting waiting)
    : id_(id), descriptor_(waiting == Waiting::byDescriptor ? openProcessDescriptor(id) : FileDescriptor()) {}

bool SpawnedProcess::reap() {
  const std::lock_guard lock(mutex_);
  if (isReaped_) return true;
  siginfo_t info{};
  int result = 0;
  do result = ::waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG);
  while (result != 0 && errno == EINTR);
  if (result == 0 && info.si_pid == 0) return false;
  exitStatus_ = result == 0 ? statusOf(info) : unknownExitStatus;
  return isReaped_ = true;
}

bool SpawnedProcess::waitForExit(Seconds limit) {
  const auto begin = Clock::now();
  while (!reap()) {
    const Seconds left = limit - (Clock::now() - begin);
    if (left <= Seconds(0)) return false;
    waitForChange(left);
  }
  return true;
}

void SpawnedProcess::waitForChange(Seconds limit) const {
  pollfd ended{descriptor_.get(), POLLIN, 0};
  ::poll(&ended, 1, milliseconds(descriptor_.isOpen() ? limit : std::min(limit, lookInterval)));
}

void SpawnedProcess::waitToWrite(int writable, Seconds limit) const {
  std::array<pollfd, 2> changes{pollfd{writable, POLLOUT, 0}, pollfd{descriptor_.get(), POLLIN, 0}};
  ::poll(changes.data(), changes.size(), milliseconds(descriptor_.isOpen() ? limit : std::min(limit, lookInterval)));
}

void SpawnedProcess::signal(int number) {
  const std::lock_guard lock(mutex_);
  if (!isReaped_) ::kill(id_, number);
}

}  // namespace zolvex
