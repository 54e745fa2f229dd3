#pragma once

#include "bluetooth/BluetoothWorkerCommand.h"
#include "bluetooth/BluetoothWorkerResult.h"
#include "bluetooth/PairedDevicePayload.h"
#include "bluetooth/ProcessLauncher.h"
#include "core/Time.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zolvex {

/// Runs one worker process for one command: starts it, waits with a time limit, stops it if it hangs, and turns its
/// exit status or its JSON into a result. Keeps no state between calls; every failure is a result and one log line.
/// Each call blocks its thread for at most the limit plus about 2 s; never call it on the main thread.
class BluetoothWorkerClient {
 public:
  /// How long a worker may take to end after the polite request, and again after the kill.
  static constexpr Seconds stopGrace{1.0};

  /// `executable` is the program's own path; none when it cannot be found out.
  BluetoothWorkerClient(ProcessLauncher& launcher, std::optional<std::string> executable);

  BluetoothWorkerResult run(BluetoothWorkerCommand command, const std::string& address, Seconds timeout) const;

  /// Empty on any failure.
  std::vector<PairedDevicePayload> listPaired(Seconds timeout) const;

 private:
  std::unique_ptr<ChildProcess> start(BluetoothWorkerCommand command) const;
  bool endsInTime(ChildProcess& worker, BluetoothWorkerCommand command, Seconds timeout) const;

  ProcessLauncher& launcher_;
  std::optional<std::string> executable_;
};

}  // namespace zolvex
