#pragma once

#include "bluetooth/ProcessLauncher.h"
#include "platform/linux/SpawnedProcess.h"

#include <memory>
#include <mutex>
#include <vector>

namespace zolvex {

/// Starts child processes with posix_spawn. A child inherits the environment and the three pipes, nothing else: no
/// other descriptor, no blocked and no ignored signal. Owned by the application. It knows every child until that has
/// been reaped: normally whoever waits for it does that; a child that was given up is reaped by a later launch. Any
/// thread.
class PosixProcessLauncher final : public ProcessLauncher {
 public:
  /// How long stop() leaves a child to end after SIGTERM, and again after SIGKILL.
  static constexpr Seconds stopGrace{1.0};

  explicit PosixProcessLauncher(SpawnedProcess::Waiting waiting = SpawnedProcess::Waiting::byDescriptor)
      : waiting_(waiting) {}

  std::variant<std::unique_ptr<ChildProcess>, Error> launch(const std::string& executable,
                                                            std::span<const std::string> arguments) override;

  /// For the end of the application: ends the children that run, by SIGTERM and if need be by SIGKILL, and makes every
  /// later launch fail. Whoever waits for such a child finds it ended. Blocks for 2 s at the most. Idempotent.
  void stop();

 private:
  std::vector<std::shared_ptr<SpawnedProcess>> refuseFurtherLaunches();

  const SpawnedProcess::Waiting waiting_;
  std::mutex mutex_;
  bool isStopped_ = false;
  std::vector<std::shared_ptr<SpawnedProcess>> children_;  ///< Those that were not seen reaped at the last launch.
};

}  // namespace zolvex
