#include "platform/linux/PosixChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <sys/ioctl.h>
#include <utility>

namespace zolvex {

namespace {

using Clock = std::chrono::steady_clock;

/// Keeps the SIGPIPE of a write to a pipe without a reader from this thread, without touching how the rest of the
/// process handles that signal.
class SigpipeShield {
 public:
  SigpipeShield() {
    sigemptyset(&sigpipe_);
    sigaddset(&sigpipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &sigpipe_, &previous_);
  }
  ~SigpipeShield() {
    const timespec atOnce{};
    if (!wasPending_)
      while (sigtimedwait(&sigpipe_, nullptr, &atOnce) < 0 && errno == EINTR) continue;
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }
  SigpipeShield(const SigpipeShield&) = delete;

 private:
  sigset_t sigpipe_{};
  sigset_t previous_{};
  bool wasPending_ = false;
};

/// What is in the pipe now. Neither an open writing end nor one that keeps writing delays it.
std::string takeAll(const FileDescriptor& pipe) {
  int available = 0;
  if (::ioctl(pipe.get(), FIONREAD, &available) != 0 || available <= 0) return {};
  std::string bytes(static_cast<std::size_t>(available), '\0');
  std::size_t taken = 0;
  while (taken < bytes.size()) {
    const auto count = ::read(pipe.get(), bytes.data() + taken, bytes.size() - taken);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    taken += static_cast<std::size_t>(count);
  }
  bytes.resize(taken);
  return bytes;
}

}  // namespace

PosixChildProcess::PosixChildProcess(std::shared_ptr<SpawnedProcess> process, ChildPipes pipes)
    : process_(std::move(process)), pipes_(std::move(pipes)) {}

Seconds PosixChildProcess::writeInput(std::string_view bytes, Seconds limit) {
  const SigpipeShield shield;
  const auto begin = Clock::now();
  const auto left = [&] { return std::max(Seconds(limit - (Clock::now() - begin)), Seconds(0)); };
  while (!bytes.empty()) {
    const auto count = ::write(pipes_.input.get(), bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      const auto patience = left();
      if (patience == Seconds(0) || process_->reap()) break;
      process_->waitToWrite(pipes_.input.get(), patience);
    } else if (errno != EINTR) {
      break;
    }
  }
  pipes_.input.close();
  return left();
}

void PosixChildProcess::terminate() {
  process_->signal(SIGTERM);
}

void PosixChildProcess::kill() {
  process_->signal(SIGKILL);
}

std::string PosixChildProcess::readOutput() {
  return takeAll(pipes_.output);
}

std::string PosixChildProcess::readError() {
  return takeAll(pipes_.error);
}

}  // namespace zolvex
