#include "bluetooth/BluetoothWorkerClient.h"

#include "core/Log.h"
#include "core/Text.h"

#include <string_view>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("BluetoothWorkerClient");

/// Trimmed text; undecodable bytes count as none.
std::string textOf(const std::string& bytes) {
  return isUtf8(bytes) ? std::string(trimmed(bytes)) : std::string();
}

BluetoothWorkerResult resultOf(int exitStatus) {
  switch (exitStatus) {
    case workerStatus::success:
      return BluetoothWorkerResult::success();
    case workerStatus::deviceNotFound:
      return BluetoothWorkerResult::notFound();
    case workerStatus::bluetoothOff:
      return BluetoothWorkerResult::bluetoothOff();
    default:
      return BluetoothWorkerResult::failed(exitStatus);
  }
}

}  // namespace

BluetoothWorkerClient::BluetoothWorkerClient(ProcessLauncher& launcher, std::optional<std::string> executable)
    : launcher_(launcher), executable_(std::move(executable)) {}

BluetoothWorkerResult BluetoothWorkerClient::run(BluetoothWorkerCommand command, const std::string& address,
                                                 Seconds timeout) const {
  const auto worker = start(command);
  if (!worker) return BluetoothWorkerResult::failed(workerStatus::encodingFailed);
  const auto left = worker->writeInput(address, timeout);
  if (!endsInTime(*worker, command, left)) return BluetoothWorkerResult::timedOut();

  const auto output = textOf(worker->readOutput());
  const auto error = textOf(worker->readError());
  if (!output.empty()) logger.info("Bluetooth worker {}: {}", literalOf(command), output);
  if (!error.empty()) logger.error("Bluetooth worker {}: {}", literalOf(command), error);
  return resultOf(worker->exitStatus());
}

std::vector<PairedDevicePayload> BluetoothWorkerClient::listPaired(Seconds timeout) const {
  constexpr auto command = BluetoothWorkerCommand::listPaired;
  const auto worker = start(command);
  if (!worker || !endsInTime(*worker, command, timeout)) return {};

  if (const auto error = worker->readError(); isUtf8(error) && !error.empty()) {
    logger.error("Bluetooth worker {} failed", literalOf(command));
    return {};
  }
  auto decoded = decodePairedDevices(worker->readOutput());
  if (const auto* error = std::get_if<PairedDevicesError>(&decoded)) {
    logger.error("Could not decode paired Bluetooth devices: {}", error->description);
    return {};
  }
  return std::get<std::vector<PairedDevicePayload>>(std::move(decoded));
}

std::unique_ptr<ChildProcess> BluetoothWorkerClient::start(BluetoothWorkerCommand command) const {
  if (!executable_) {
    logger.error("Bluetooth worker executable unavailable");
    return nullptr;
  }
  const std::string arguments[] = {std::string(workerFlag), std::string(literalOf(command))};
  auto launched = launcher_.launch(*executable_, arguments);
  if (const auto* error = std::get_if<ProcessLauncher::Error>(&launched)) {
    logger.error("Bluetooth worker failed to start: {}", error->description);
    return nullptr;
  }
  return std::get<std::unique_ptr<ChildProcess>>(std::move(launched));
}

bool BluetoothWorkerClient::endsInTime(ChildProcess& worker, BluetoothWorkerCommand command, Seconds timeout) const {
  if (worker.waitForExit(timeout)) return true;
  worker.terminate();
  if (!worker.waitForExit(stopGrace)) {
    worker.kill();
    worker.waitForExit(stopGrace);
  }
  logger.error("Bluetooth worker timed out during {}", literalOf(command));
  return false;
}

}  // namespace zolvex
