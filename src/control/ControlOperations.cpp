#include "control/ControlOperations.h"

#include "control/UnsavedChange.h"
#include "core/Text.h"

#include <algorithm>
#include <utility>

namespace zolvex::control {

ControlOperations::ControlOperations(const Controlled& controlled)
    : use_(controlled),
      settings_(controlled.defaults, controlled.networkStore, controlled.launchAtLogin),
      selection_(controlled.defaults, controlled.bluetoothStore) {}

Refusal ControlOperations::connectToThisMac(bool connectMissing) {
  if (auto refusal = refusalWhileSwitching()) return refusal;
  use_.deviceManager.connectToThisMac(connectMissing);
  return std::nullopt;
}

Refusal ControlOperations::forceConnect(bool connectMissing) {
  if (auto refusal = refusalWhileSwitching()) return refusal;
  use_.deviceManager.forceConnect(connectMissing);
  return std::nullopt;
}

Refusal ControlOperations::release() {
  if (auto refusal = refusalWhileSwitching()) return refusal;
  use_.deviceManager.releaseDevices();
  return std::nullopt;
}

Refusal ControlOperations::refusalWhileSwitching() const {
  if (!use_.deviceManager.isSwitching()) return std::nullopt;
  return ControlError{error::busy, "The devices are being moved already: " + use_.deviceManager.lastResult()};
}

bool ControlOperations::cancel() {
  const bool isRunning = use_.deviceManager.isSwitching();
  use_.deviceManager.cancelCurrentOperation();
  return isRunning;
}

void ControlOperations::refresh() {
  use_.deviceManager.refreshFromLiveState();
}

Refusal ControlOperations::show() {
  if (use_.showWindows && use_.showWindows()) return std::nullopt;
  return ControlError{error::failed, "This Zolvex has no windows: it has no display, or cannot use it."};
}

void ControlOperations::pairedDevices(PairedDeviceScan::Answer answer) {
  use_.pairedDeviceScan.list(lifetime_.guard(std::move(answer)));
}

void ControlOperations::manageDevices(std::vector<std::string> addresses, Done done) {
  if (auto refusal = refusalOfSetup(!addresses.empty())) return done(refusal);
  pairedDevices(
      [this, addresses = std::move(addresses), done = std::move(done)](const PairedDeviceScan::Devices& paired) {
        if (auto refusal = refusalOfSetup(true)) return done(refusal);  // the peer may have been removed meanwhile
        if (auto refusal = selection_.save(addresses, paired)) return done(refusal);
        use_.deviceManager.devicesConfigured();
        done(unsavedChange(use_.defaults));
      });
}

Refusal ControlOperations::refusalOfSetup(bool anySelected) const {
  if (!anySelected) return ControlError{error::incompleteSetup, "Select at least one device to finish setup."};
  if (!use_.networkStore.registeredPeer())
    return ControlError{error::incompleteSetup, "Add your peer Mac to finish setup."};
  return std::nullopt;
}

Refusal ControlOperations::registerPeer(const std::string& id) {
  const auto* registered = use_.networkStore.registeredPeer();
  if (registered && uppercased(registered->id) == uppercased(id)) return savePeerAgain();
  const auto& discovered = use_.networkStore.discoveredNetworkDevices();
  const auto found = std::find_if(discovered.begin(), discovered.end(), [wanted = uppercased(id)](const auto& device) {
    return uppercased(device.id) == wanted;
  });
  if (found == discovered.end())
    return ControlError{error::unknownPeer, "No computer with the ID " + escapedForLog(id) + " is to be seen."};
  use_.networkStore.registerPeer(*found);
  return unsavedChange(use_.defaults);
}

/// It is the peer already, and is as good as added once that is saved, too.
Refusal ControlOperations::savePeerAgain() {
  if (use_.defaults.persistenceProblem()) use_.networkStore.registerPeer(*use_.networkStore.registeredPeer());
  return unsavedChange(use_.defaults);
}

Refusal ControlOperations::removePeer() {
  if (!use_.networkStore.registeredPeer()) return ControlError{error::noPeer, "No peer added"};
  use_.networkStore.removePeer();
  return unsavedChange(use_.defaults);
}

}  // namespace zolvex::control
