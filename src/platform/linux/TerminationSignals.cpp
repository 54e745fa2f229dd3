#include "platform/linux/TerminationSignals.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace zolvex {

namespace {

std::atomic<int> writeEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free, "used in a signal handler");

void noteSignal(int signal) {
  const int savedError = errno;
  const auto byte = static_cast<unsigned char>(signal);
  if (const int end = writeEnd.load(); end >= 0) [[maybe_unused]]
    const auto written = write(end, &byte, 1);
  errno = savedError;
}

void handle(int signal) {
  struct sigaction action {};
  action.sa_handler = noteSignal;
  action.sa_flags = SA_RESTART;
  sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void(int)> terminate) : terminate_(std::move(terminate)) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
  readEnd_ = ends[0];
  writeEnd = ends[1];
  notifier_ = std::make_unique<QSocketNotifier>(readEnd_, QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { read(); });
  for (const int signal : {SIGTERM, SIGINT}) handle(signal);
  if (!isIgnored(SIGHUP)) handle(SIGHUP);
}

TerminationSignals::~TerminationSignals() {
  notifier_ = nullptr;
  if (const int end = writeEnd.exchange(-1); end >= 0) close(end);
  if (readEnd_ >= 0) close(readEnd_);
}

void TerminationSignals::read() {
  unsigned char signal = 0;
  if (::read(readEnd_, &signal, 1) == 1) terminate_(signal);
}

}  // namespace zolvex
