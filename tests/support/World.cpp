#include "support/World.h"

#include "core/SettingsKeys.h"

namespace zolvex::test {

class World::Notifier final : public OwnershipNotifier {
 public:
  explicit Notifier(std::vector<std::string>& shown) : shown_(shown) {}
  void notifyDevicesMovedHere() override { shown_.push_back("moved here"); }
  void notifySomeDevicesMovedHere() override { shown_.push_back("some moved here"); }
  void notifyDevicesMovedToPeer() override { shown_.push_back("moved to peer"); }

 private:
  std::vector<std::string>& shown_;
};

World::World(const std::vector<std::string>& devices, bool hasPeer)
    : notifier_(std::make_unique<Notifier>(notifications)) {
  writeSettings(devices, hasPeer);
  store_.emplace(time, bluetoothQueue, defaults, workerClient);
  network_.emplace(time, defaults, NetworkDeviceStore::Transports{nullptr, peer});
  manager_.emplace(DeviceManager::Collaborators{time, defaults, *store_, *network_, *notifier_, session, session});
  network_->start(*manager_);
  subscriptions_.push_back(manager_->observeLastResult([this](const auto& text) { statusTexts.push_back(text); }));
  subscriptions_.push_back(manager_->observeOwnershipState([this](auto state) { states.push_back(state); }));
}

void World::setWorkers(const std::string& command, const FakeWorkers::Behaviour& behaviour) {
  for (const auto& device : store_->peripherals()) workers.set(command, device.id, behaviour);
}

void World::haveConnected(std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) store_->markConnected(store_->peripherals()[i].id);
}

void World::enableAutoConnect() {
  defaults.set(settings::autoConnect, true);
}

void World::writeSettings(const std::vector<std::string>& devices, bool hasPeer) {
  StringArray addresses;
  StringDictionary names;
  for (const auto& name : devices) {
    addresses.push_back("A" + std::to_string(addresses.size() + 1));
    names[addresses.back()] = name;
  }
  defaults.set(settings::managedDeviceAddresses, addresses);
  defaults.set(settings::deviceNames, names);
  defaults.set(settings::transportMode, std::string(settings::transportBonjour));
  defaults.registerDefaults({{std::string(settings::autoConnect), false}});
  const std::vector peers{peerRecord(time.now())};
  if (hasPeer) defaults.set(settings::networkDevices, *encodeNetworkDevices(peers));
}

NetworkDevice peerRecord(Date now) {
  return {"ABC123", "ABC123", "192.0.2.7", std::uint16_t{4711}, now, false, {}};
}

}  // namespace zolvex::test
