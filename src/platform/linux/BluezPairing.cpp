#include "platform/linux/BluezPairing.h"

#include "bluetooth/worker/BluetoothClassicController.h"

namespace zolvex {

std::int32_t BluezPairing::pair(const BluezDevice& device) const {
  using Capability = BluezPairingAgent::Capability;
  auto current = device;
  auto answer = pairOffering(Capability::noInputNoOutput, current);
  if (answer.isAlreadyExists()) {
    const auto fresh = foundAnew(current);
    if (!fresh) return ioReturn::noDevice;
    if (fresh->isPaired) return ioReturn::success;
    current = *fresh;
    answer = pairOffering(Capability::noInputNoOutput, current);
  }
  if (answer.isAuthenticationRefused()) answer = pairOffering(Capability::keyboardDisplay, current);
  return answer.isInProgress() ? awaitRunningPairing(current) : answer.ioReturnStatus();
}

BluezAnswer BluezPairing::pairOffering(BluezPairingAgent::Capability capability, const BluezDevice& device) const {
  BluezPairingAgent agent(bus_, device, capability);
  // Without an agent of ours BlueZ would ask another program's. When it says that there is one already, it is ours: of
  // the same connection, at the same place. That says nothing about the bond.
  if (auto answer = agent.registerAtDaemon(); !answer.isSuccess() && !answer.isAlreadyExists()) return answer;
  BluezWatch watch(bus_);
  const auto call = bus_.message(device.path, bluez::deviceInterface, "Pair");
  // When the adapter goes, the device goes with it, and nobody answers any more.
  return bus_.callWithEvents(call, pairLimit, [&] { return watch.wasRemoved(device.path); });
}

/// BlueZ says that the device is paired: somebody may have been faster, or only BlueZ thinks so, and then it has to
/// forget the device first.
std::optional<BluezDevice> BluezPairing::foundAnew(const BluezDevice& device) const {
  auto current = adapter_.known(device.address).device;
  if (current && current->isPaired) return current;
  if (!adapter_.remove(current.value_or(device))) return std::nullopt;
  return adapter_.inRange(device.address).device;
}

std::int32_t BluezPairing::awaitRunningPairing(const BluezDevice& device) const {
  BluezWatch watch(bus_);
  watch.followDevice(device.path);
  if (bus_.deviceProperty(device.path, "Paired") == BluezValue(true)) return ioReturn::success;
  const auto isGone = [&] { return watch.wasRemoved(device.path) || watch.isOver(); };
  bus_.waitUntil([&] { return watch.becameTrue("Paired") || isGone(); }, runningPairingLimit);
  return watch.becameTrue("Paired") ? ioReturn::success : ioReturn::busy;
}

}  // namespace zolvex
