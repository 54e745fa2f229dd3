#include "bluetooth/worker/BluetoothWorker.h"

#include "bluetooth/PairedDevicePayload.h"
#include "core/Text.h"

#include <algorithm>
#include <cstddef>
#include <istream>
#include <iterator>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>
#include <vector>

namespace zolvex {

namespace {

/// Of more input than this only the beginning is kept. No address is nearly as long.
constexpr std::size_t keptInput = 64 * 1024;

/// Reads what is left. Whether there was anything but white space.
bool goesOn(std::istream& input) {
  constexpr std::string_view whiteSpace = " \t\r\n";
  return std::count_if(std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>(),
                       [&](char c) { return whiteSpace.find(c) == std::string_view::npos; }) > 0;
}

/// Whether bytes may be the beginning of UTF-8, of which the last character is not complete.
bool beginsUtf8(std::string_view bytes) {
  constexpr std::size_t longestCharacter = 4;
  for (std::size_t cut = 0; cut < longestCharacter; ++cut)
    if (isUtf8(bytes.substr(0, bytes.size() - cut))) return true;
  return false;
}

/// The address on standard input, without white space around it; none when there is none or it is not UTF-8.
std::optional<std::string> readAddress(std::istream& input) {
  std::string bytes(keptInput, '\0');
  input.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(input.gcount()));
  const bool isCut = input && goesOn(input);
  const auto address = trimmed(bytes);
  if (address.empty() || !(isCut ? beginsUtf8(bytes) : isUtf8(bytes))) return std::nullopt;
  return isCut ? bytes : std::string(address);  // trimmed, the beginning could pass for an address
}

std::vector<PairedDevicePayload> payloadsOf(const std::vector<BluetoothClassicController::PairedDevice>& devices) {
  constexpr std::string_view unknownName = "Unknown Device";
  std::vector<PairedDevicePayload> payloads;
  for (const auto& device : devices) {
    const auto address = trimmed(device.address);
    if (address.empty()) continue;
    const auto name = device.name ? trimmed(*device.name) : std::string_view();
    payloads.push_back({std::string(address), std::string(name.empty() ? unknownName : name), device.isConnected});
  }
  return payloads;
}

}  // namespace

int BluetoothWorker::run(std::span<const std::string> arguments) {
  const int status = dispatch(arguments);
  environment_.output.flush();
  environment_.error.flush();
  return status;
}

int BluetoothWorker::dispatch(std::span<const std::string> arguments) {
  const auto command = arguments.size() == 1 ? workerCommandFromLiteral(arguments.front()) : std::nullopt;
  if (!command) return fail(workerStatus::usage, "Invalid Bluetooth worker arguments");
  return *command == BluetoothWorkerCommand::listPaired ? listPaired() : runOnDevice(*command);
}

int BluetoothWorker::runOnDevice(BluetoothWorkerCommand command) {
  using Lookup = BluetoothClassicController::Lookup;
  const auto address = readAddress(environment_.input);
  if (!address) return fail(workerStatus::usage, "Missing Bluetooth device address");
  const auto controller = environment_.openController();
  // A device to be connected may have been removed here earlier, and then has to be found on the radio; a device to be
  // removed that the system does not know is removed already.
  const bool connecting = command == BluetoothWorkerCommand::connect;
  const auto found = controller->deviceWithAddress(*address, connecting ? Lookup::inRange : Lookup::known);
  if (!found.isPoweredOn) return fail(workerStatus::bluetoothOff, "Bluetooth is off");
  if (!found.device) return fail(workerStatus::deviceNotFound, "Device not found");
  return connecting ? connect(*found.device) : unregister(*found.device);
}

int BluetoothWorker::connect(BluetoothClassicDevice& device) {
  auto& output = environment_.output;
  if (device.isConnected()) {
    output << "Already connected\n";
    return workerStatus::success;
  }
  if (device.rssi() == noRssiReading) output << "Not in range yet\n";
  for (int attempt = 1; !device.isConnected(); ++attempt) {
    const auto status = device.openConnection();
    const bool connected = device.isConnected();
    output << "Attempt " << attempt << ": openConnection=" << status << ", connected=" << (connected ? "true" : "false")
           << '\n';
    if (connected) return workerStatus::success;
    environment_.sleep(attemptPause);
    if (attempt == connectAttempts) return fail(workerStatus::connectFailed, "Connect failed");
  }
  output << "Connected\n";
  return workerStatus::success;
}

int BluetoothWorker::unregister(BluetoothClassicDevice& device) {
  if (!device.removePairing()) return fail(workerStatus::removeUnavailable, "Remove selector unavailable");
  environment_.output << "Removed pairing\n";
  return workerStatus::success;
}

int BluetoothWorker::listPaired() {
  const auto json = encodePairedDevices(payloadsOf(environment_.openController()->pairedDevices()));
  if (!json) return fail(workerStatus::encodingFailed, "Could not encode paired devices");
  environment_.output << *json;
  return workerStatus::success;
}

int BluetoothWorker::fail(int status, std::string_view text) {
  environment_.error << text << '\n';
  return status;
}

}  // namespace zolvex
