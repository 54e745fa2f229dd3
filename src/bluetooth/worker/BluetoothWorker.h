#pragma once

#include "bluetooth/BluetoothWorkerCommand.h"
#include "bluetooth/worker/BluetoothClassicController.h"
#include "core/Time.h"

#include <functional>
#include <iosfwd>
#include <memory>
#include <span>
#include <string>

namespace zolvex {

/// Worker mode: exactly one Bluetooth command, its result on the standard streams, its outcome as exit status.
/// Bad arguments and a missing address end it before the Bluetooth stack is looked at.
class BluetoothWorker {
 public:
  static constexpr int connectAttempts = 5;
  static constexpr Seconds attemptPause{1.0};

  /// What a worker needs of its process. All are used on the calling thread.
  struct Environment {
    std::istream& input;
    std::ostream& output;
    std::ostream& error;
    std::function<std::unique_ptr<BluetoothClassicController>()> openController;
    std::function<void(Seconds)> sleep;
  };

  explicit BluetoothWorker(Environment environment) : environment_(std::move(environment)) {}

  /// `arguments` are those after the flag. Returns the exit status; the output streams are flushed.
  int run(std::span<const std::string> arguments);

 private:
  int dispatch(std::span<const std::string> arguments);
  int runOnDevice(BluetoothWorkerCommand command);
  int connect(BluetoothClassicDevice& device);
  int unregister(BluetoothClassicDevice& device);
  int listPaired();
  int fail(int status, std::string_view text);

  Environment environment_;
};

}  // namespace zolvex
