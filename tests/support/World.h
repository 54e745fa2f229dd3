#pragma once

#include "ownership/DeviceManager.h"
#include "support/FakePeerTransport.h"
#include "support/FakeSession.h"
#include "support/FakeWorkers.h"
#include "support/LogCapture.h"
#include "support/MemoryUserDefaults.h"
#include "support/VirtualTime.h"

#include <optional>
#include <string>
#include <vector>

namespace zolvex::test {

inline const std::vector<std::string> noDevices;

/// One computer on virtual time: the real rules over fake workers, a fake peer and settings in memory. It keeps
/// what is published, logged and shown to the user.
class World {
 public:
  /// `devices` are the names of the managed devices; the addresses are "A1", "A2", ... With `hasPeer` a peer "ABC123"
  /// is registered.
  explicit World(const std::vector<std::string>& devices = {"Magic Keyboard", "Magic Trackpad"}, bool hasPeer = true);

  void advance(Seconds duration) { time.advance(duration); }
  void runUntilIdle() { time.runUntilIdle(); }

  /// Ends the manager in the middle of whatever it does.
  void destroyManager() { manager_.reset(); }
  DeviceManager& manager() { return *manager_; }
  BluetoothPeripheralStore& store() { return *store_; }
  NetworkDeviceStore& network() { return *network_; }

  /// What was published and shown since the start, in order.
  std::vector<std::string> statusTexts;
  std::vector<DeviceOwnershipState> states;
  std::vector<std::string> notifications;

  /// How the connect or unregister workers of every managed device behave.
  void setWorkers(const std::string& command, const FakeWorkers::Behaviour& behaviour);

  /// Makes `count` devices, in list order, known as connected.
  void haveConnected(std::size_t count);

  /// Automatic connect is off until a test turns it on.
  void enableAutoConnect();

  LogCapture log;
  VirtualTime time;
  MemoryUserDefaults defaults;
  FakeWorkers workers{time};
  BluetoothWorkerClient workerClient{workers, "/opt/zolvex"};
  VirtualSerialQueue bluetoothQueue{time};
  FakePeerTransport peer{time};
  FakeSession session;

 private:
  class Notifier;
  void writeSettings(const std::vector<std::string>& devices, bool hasPeer);

  std::unique_ptr<OwnershipNotifier> notifier_;
  std::optional<BluetoothPeripheralStore> store_;
  std::optional<NetworkDeviceStore> network_;
  std::optional<DeviceManager> manager_;
  std::vector<Subscription> subscriptions_;
};

/// The record of the peer that a World registers.
NetworkDevice peerRecord(Date now);

}  // namespace zolvex::test
