#include "lab/cli/Interrupt.h"

#include "lab/EndSignals.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace zolvex::lab {

namespace {

constexpr std::array endSignals{SIGINT, SIGTERM, SIGHUP};

// A signal handler can reach nothing but static data.
int writeEnd = -1;
int readEnd = -1;

void onSignal(int) {
  constexpr char byte = 0;
  [[maybe_unused]] const auto written = write(writeEnd, &byte, 1);
}

}  // namespace

Interrupt::Interrupt() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
  readEnd = ends[0];
  writeEnd = ends[1];
  notifier_ = std::make_unique<QSocketNotifier>(readEnd, QSocketNotifier::Read);
  connect(notifier_.get(), &QSocketNotifier::activated, this, [this] {
    char byte = 0;
    while (read(readEnd, &byte, 1) > 0) {
    }
    Q_EMIT raised();
  });
  for (const auto signal : endSignals) handleEndSignal(signal, onSignal);
}

Interrupt::~Interrupt() {
  for (const auto signal : endSignals) handleEndSignal(signal, SIG_DFL);
  notifier_.reset();
  close(readEnd);
  close(writeEnd);
}

}  // namespace zolvex::lab
