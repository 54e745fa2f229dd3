#pragma once

#include "bluetooth/BluetoothPeripheral.h"
#include "bluetooth/BluetoothWorkerClient.h"
#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/Published.h"
#include "core/SerialQueue.h"
#include "core/UserDefaults.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zolvex {

/// The managed devices: the user's choice, persisted, with the last known connection state of each.
/// Owned by the application; there is one. It publishes the list, reduces it to a summary for the ownership rules, and
/// offers the two blocking actions on one device, which it has done by worker processes. A choice that is changed in
/// the settings by somebody else is taken over; what is known of devices that stay is kept.
/// Main thread, except connect() and unregister().
class BluetoothPeripheralStore {
 public:
  enum class ConnectionStatus {
    allConnected,     ///< At least one device, and every one is connected.
    allDisconnected,  ///< None is connected, or there is none.
    partial,
  };

  static constexpr Seconds connectTimeout{12.0};
  static constexpr Seconds unregisterTimeout{8.0};

  /// Loads the persisted list.
  BluetoothPeripheralStore(MainQueue& mainQueue, SerialQueue& bluetoothQueue, UserDefaults& defaults,
                           const BluetoothWorkerClient& workerClient);

  /// Replaces the list by the persisted one; every device starts as not connected.
  void reload();

  /// Address to name, for every device ever chosen. Empty when the stored value is damaged.
  StringDictionary loadDeviceNames() const;

  const std::vector<BluetoothPeripheral>& peripherals() const { return peripherals_.value(); }
  [[nodiscard]] Subscription observePeripherals(std::function<void(const std::vector<BluetoothPeripheral>&)> observer) {
    return peripherals_.observe(std::move(observer));
  }

  ConnectionStatus connectionStatus() const;
  bool anyConnected() const;

  /// The queue on which callers run the two actions below; one worker at a time, in submission order.
  SerialQueue& bluetoothQueue() { return bluetoothQueue_; }

  /// Blocks for up to about 14 s; call it on `bluetoothQueue()`. `completion` runs, and ends, on the main thread once
  /// the device's state has been updated.
  void connect(const BluetoothPeripheral& peripheral, std::function<void()> completion);

  /// Blocks for up to about 10 s; call it on `bluetoothQueue()`. `completion` runs, and ends, on the main thread with
  /// whether the pairing is gone; a device that the system does not know any more counts as gone.
  void unregister(const BluetoothPeripheral& peripheral, std::function<void(bool)> completion);

  /// Any thread; off the main thread they take effect in a later turn. Unknown addresses and states that are no
  /// change are ignored.
  void markConnected(const std::string& address) { mark(address, true); }
  void markDisconnected(const std::string& address) { mark(address, false); }

  /// SF Symbol of the kind of device that `deviceName` suggests.
  static std::string_view iconName(std::string_view deviceName);

 private:
  std::vector<BluetoothPeripheral> persisted() const;
  bool isUpToDate() const;
  void followSettings();
  void mark(const std::string& address, bool isConnected);

  MainQueue& mainQueue_;
  SerialQueue& bluetoothQueue_;
  UserDefaults& defaults_;
  const BluetoothWorkerClient& workerClient_;
  Published<std::vector<BluetoothPeripheral>> peripherals_;
  Subscription settings_;
  WorkItem settingsCheck_;
  Lifetime lifetime_;
};

}  // namespace zolvex
