#include "platform/linux/BluezPairing.h"

#include "bluetooth/worker/BluetoothClassicController.h"
#include "platform/linux/BluezErrors.h"

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

std::int32_t BluezPairing::pair(const BluezDevice& device) const {
  using Capability = BluezPairingAgent::Capability;
  auto current = device;
  auto answer = pairOffering(Capability::noInputNoOutput, current);
  if (isAlreadyExists(answer)) {
    const auto fresh = foundAnew(current);
    if (!fresh) return ioReturn::noDevice;
    if (fresh->isPaired) return ioReturn::success;
    current = *fresh;
    answer = pairOffering(Capability::noInputNoOutput, current);
  }
  if (isAuthenticationRefused(answer)) answer = pairOffering(Capability::keyboardDisplay, current);
  return isInProgress(answer) ? awaitRunningPairing(current) : ioReturnOf(answer);
}

QDBusMessage BluezPairing::pairOffering(BluezPairingAgent::Capability capability, const BluezDevice& device) const {
  BluezPairingAgent agent(bus_, device, capability);
  // Without an agent of ours BlueZ would ask another program's.
  if (const auto answer = agent.registerAtDaemon(); !isSuccess(answer)) return answer;
  const auto call = bus_.methodCall(device.path, bluez::deviceInterface, u"Pair"_s);
  return bus_.callWithEvents(call, pairLimit, [] { return false; });
}

/// BlueZ says that the device is paired: somebody may have been faster, or only BlueZ thinks so, and then it has to
/// forget the device first.
std::optional<BluezDevice> BluezPairing::foundAnew(const BluezDevice& device) const {
  const auto current = adapter_.known(device.address);
  if (current && current->isPaired) return current;
  if (!adapter_.remove(device.address)) return std::nullopt;
  return adapter_.inRange(device.address);
}

std::int32_t BluezPairing::awaitRunningPairing(const BluezDevice& device) const {
  BluezWatch watch(bus_);
  watch.followDevice(device.path);
  const auto paired = u"Paired"_s;
  if (bus_.property(device.path, bluez::deviceInterface, paired).toBool()) return ioReturn::success;
  BluezBus::waitUntil([&] { return watch.becameTrue(paired) || watch.isOver(); }, runningPairingLimit);
  return watch.becameTrue(paired) ? ioReturn::success : ioReturn::busy;
}

}  // namespace zolvex
