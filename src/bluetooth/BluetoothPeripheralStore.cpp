#include "bluetooth/BluetoothPeripheralStore.h"

#include "core/Log.h"
#include "core/SettingsKeys.h"
#include "core/Text.h"

#include <algorithm>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("BluetoothConnector");

/// The whole name, on one line: a device chooses its name itself.
std::string loggedName(const BluetoothPeripheral& peripheral) {
  return escapedForLog(peripheral.name, peripheral.name.size());
}

}  // namespace

BluetoothPeripheralStore::BluetoothPeripheralStore(MainQueue& mainQueue, SerialQueue& bluetoothQueue,
                                                   UserDefaults& defaults, const BluetoothWorkerClient& workerClient)
    : mainQueue_(mainQueue), bluetoothQueue_(bluetoothQueue), defaults_(defaults), workerClient_(workerClient) {
  reload();
  // Not at once: who changes the choice and its names makes two changes, and then has it reloaded.
  settings_ = defaults_.changed.observe([this] {
    if (!isUpToDate()) settingsCheck_ = mainQueue_.after(Seconds(0), [this] { followSettings(); });
  });
}

void BluetoothPeripheralStore::reload() {
  peripherals_ = persisted();
  logger.info("loaded {} managed Bluetooth devices", peripherals().size());
}

std::vector<BluetoothPeripheral> BluetoothPeripheralStore::persisted() const {
  const auto names = loadDeviceNames();
  std::vector<BluetoothPeripheral> devices;
  for (const auto& address : defaults_.stringArray(settings::managedDeviceAddresses).value_or(StringArray{})) {
    const auto saved = names.find(address);
    devices.push_back({address, saved == names.end() ? address : saved->second});
  }
  return devices;
}

bool BluetoothPeripheralStore::isUpToDate() const {
  return std::ranges::equal(peripherals(), persisted(), [](const auto& known, const auto& stored) {
    return known.id == stored.id && known.name == stored.name;
  });
}

void BluetoothPeripheralStore::followSettings() {
  if (isUpToDate()) return;
  const auto& known = peripherals();
  auto devices = persisted();
  for (auto& device : devices) {
    const auto before = std::ranges::find(known, device.id, &BluetoothPeripheral::id);
    device.isConnected = before != known.end() && before->isConnected;
  }
  peripherals_ = std::move(devices);
  logger.info("loaded {} managed Bluetooth devices", peripherals().size());
}

StringDictionary BluetoothPeripheralStore::loadDeviceNames() const {
  return defaults_.stringDictionary(settings::deviceNames).value_or(StringDictionary{});
}

BluetoothPeripheralStore::ConnectionStatus BluetoothPeripheralStore::connectionStatus() const {
  const auto isConnected = [](const BluetoothPeripheral& peripheral) { return peripheral.isConnected; };
  if (!anyConnected()) return ConnectionStatus::allDisconnected;
  return std::all_of(peripherals().begin(), peripherals().end(), isConnected) ? ConnectionStatus::allConnected
                                                                              : ConnectionStatus::partial;
}

bool BluetoothPeripheralStore::anyConnected() const {
  return std::any_of(peripherals().begin(), peripherals().end(),
                     [](const BluetoothPeripheral& peripheral) { return peripheral.isConnected; });
}

void BluetoothPeripheralStore::connect(const BluetoothPeripheral& peripheral, std::function<void()> completion) {
  const auto result = workerClient_.run(BluetoothWorkerCommand::connect, peripheral.id, connectTimeout);
  const bool connected = result == BluetoothWorkerResult::success();
  mainQueue_.async(lifetime_.guard([this, peripheral, connected, completion = std::move(completion)] {
    mark(peripheral.id, connected);
    if (connected)
      logger.info("connect: SUCCESS {}", loggedName(peripheral));
    else
      logger.error("connect: FAILED {}", loggedName(peripheral));
    completion();
  }));
}

void BluetoothPeripheralStore::unregister(const BluetoothPeripheral& peripheral, std::function<void(bool)> completion) {
  const auto result = workerClient_.run(BluetoothWorkerCommand::unregister, peripheral.id, unregisterTimeout);
  const bool released = result == BluetoothWorkerResult::success() || result == BluetoothWorkerResult::notFound();
  mainQueue_.async(lifetime_.guard([this, peripheral, released, completion = std::move(completion)] {
    if (released) {
      mark(peripheral.id, false);
      logger.info("unregister: released {}", loggedName(peripheral));
    } else {
      logger.error("unregister: failed {}", loggedName(peripheral));
    }
    completion(released);
  }));
}

void BluetoothPeripheralStore::mark(const std::string& address, bool isConnected) {
  if (!mainQueue_.isCurrent()) {
    mainQueue_.async(lifetime_.guard([this, address, isConnected] { mark(address, isConnected); }));
    return;
  }
  auto changed = peripherals();
  const auto found = std::find_if(changed.begin(), changed.end(),
                                  [&](const BluetoothPeripheral& peripheral) { return peripheral.id == address; });
  if (found == changed.end() || found->isConnected == isConnected) return;
  found->isConnected = isConnected;
  peripherals_ = std::move(changed);
}

std::string_view BluetoothPeripheralStore::iconName(std::string_view deviceName) {
  const auto name = lowercased(deviceName);
  if (name.find("keyboard") != std::string::npos) return "keyboard";
  if (name.find("trackpad") != std::string::npos) return "rectangle.and.hand.point.up.left";
  if (name.find("mouse") != std::string::npos) return "computermouse";
  return "dot.radiowaves.left.and.right";
}

}  // namespace zolvex
