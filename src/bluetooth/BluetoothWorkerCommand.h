#pragma once

#include <optional>
#include <string_view>

namespace zolvex {

/// First argument of the executable that selects worker mode.
inline constexpr std::string_view workerFlag = "--zolvex-bluetooth-worker";

/// What one worker process is asked to do.
enum class BluetoothWorkerCommand { connect, listPaired, unregister };

/// The literal on the worker's command line and in log lines.
std::string_view literalOf(BluetoothWorkerCommand command);

/// The exact literal only: no other case, no white space.
std::optional<BluetoothWorkerCommand> workerCommandFromLiteral(std::string_view literal);

/// Exit statuses of the worker, numbered as in the BSD sysexits convention.
namespace workerStatus {
inline constexpr int success = 0;
inline constexpr int connectFailed = 1;
inline constexpr int usage = 64;
inline constexpr int encodingFailed = 65;
inline constexpr int deviceNotFound = 66;
inline constexpr int bluetoothOff = 69;
inline constexpr int removeUnavailable = 70;
}  // namespace workerStatus

}  // namespace zolvex
