#pragma once

#include <cstdint>

namespace zolvex {

/// The outcome of one worker run.
struct BluetoothWorkerResult {
  enum class Kind { failed, success, notFound, bluetoothOff, timedOut };

  Kind kind;
  std::int32_t exitStatus = 0;  ///< Only of `failed`; a worker that could not be started at all has 65.

  static BluetoothWorkerResult failed(std::int32_t status) { return {Kind::failed, status}; }
  static BluetoothWorkerResult success() { return {Kind::success}; }
  static BluetoothWorkerResult notFound() { return {Kind::notFound}; }
  static BluetoothWorkerResult bluetoothOff() { return {Kind::bluetoothOff}; }
  static BluetoothWorkerResult timedOut() { return {Kind::timedOut}; }

  bool operator==(const BluetoothWorkerResult&) const = default;
};

}  // namespace zolvex
