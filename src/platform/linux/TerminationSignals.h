#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace zolvex {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main thread. SIGHUP stays ignored where it is, as after nohup.
/// One per process at a time; the handlers stay until the process ends, harmless once this is gone. Child processes
/// start with the default actions.
class TerminationSignals {
 public:
  explicit TerminationSignals(std::function<void(int signal)> terminate);
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;

 private:
  void read();

  std::function<void(int)> terminate_;
  int readEnd_ = -1;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace zolvex
