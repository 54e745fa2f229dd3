#include "platform/linux/BluezClassicAdapter.h"

#include "platform/linux/BluezAddress.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace zolvex {

namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

BluezClassicAdapter::BluezClassicAdapter(const BluezBus& bus, std::string wantedAddress)
    : bus_(bus), wantedAddress_(std::move(wantedAddress)) {}

bool BluezClassicAdapter::isPowered() const {
  const auto objects = bus_.objects();
  const auto* adapter = chosenFrom(objects);
  return adapter && adapter->isPowered;
}

std::vector<BluezDevice> BluezClassicAdapter::pairedDevices() const {
  const auto objects = bus_.objects();
  const auto* adapter = chosenFrom(objects);
  std::vector<BluezDevice> paired;
  if (!adapter) return paired;
  std::copy_if(objects.devices.begin(), objects.devices.end(), std::back_inserter(paired),
               [&](const BluezDevice& device) { return device.isPaired && device.adapterPath == adapter->path; });
  return paired;
}

BluezClassicAdapter::Sight BluezClassicAdapter::known(const std::string& address) const {
  const auto objects = bus_.objects();
  return sightOf(chosenFrom(objects), objects, address);
}

BluezClassicAdapter::Sight BluezClassicAdapter::inRange(const std::string& address) {
  const auto objects = bus_.objects();
  const auto* adapter = chosenFrom(objects);
  auto sight = sightOf(adapter, objects, address);
  if (!sight.isPowered || sight.device || discoveryLeft_ <= Seconds(0)) return sight;
  const auto begin = Clock::now();
  sight.device = discover(adapter->path, address);
  discoveryLeft_ -= Clock::now() - begin;
  return sight;
}

std::optional<BluezDevice> BluezClassicAdapter::discover(const std::string& adapterPath,
                                                         const std::string& address) const {
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(discoveryLeft_);
  constexpr auto adapter = bluez::adapterInterface;
  BluezWatch watch(bus_);
  const auto filter = bus_.message(adapterPath, adapter, "SetDiscoveryFilter", "a{sv}", 1, "Transport", "s", "bredr");
  bus_.call(filter, deadline - Clock::now());
  const auto started = bus_.call(bus_.message(adapterPath, adapter, "StartDiscovery"), deadline - Clock::now());
  if (!started.isSuccess() && !started.isInProgress()) return std::nullopt;
  auto found = awaitArrival(watch, adapterPath, address, deadline);
  bus_.tell(bus_.message(adapterPath, adapter, "StopDiscovery"));
  return found;
}

std::optional<BluezDevice> BluezClassicAdapter::awaitArrival(BluezWatch& watch, const std::string& adapterPath,
                                                             const std::string& address, Deadline deadline) const {
  const auto left = [&] { return Seconds(deadline - Clock::now()); };
  const auto hasNews = [&] { return watch.isOver() || watch.takeArrival(); };
  do {
    const auto objects = bus_.objects(std::min(left(), BluezBus::quickCallLimit));
    if (const auto* device = objects.deviceWithAddress(adapterPath, address)) return *device;
  } while (bus_.waitUntil(hasNews, left()) && !watch.isOver() && left() > Seconds(0));
  return std::nullopt;
}

bool BluezClassicAdapter::remove(const BluezDevice& device) const {
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(removalLimit);
  BluezWatch watch(bus_);
  const auto call = bus_.message(device.adapterPath, bluez::adapterInterface, "RemoveDevice", "o", device.path.c_str());
  const auto answer =
      bus_.callWithEvents(call, removalCallLimit, [&] { return watch.wasRemoved(device.path) || watch.isOver(); });
  if (answer.isSuccess() || answer.isDoesNotExist()) return true;
  // For a connected device the reply may never come although the device is gone.
  return answer.isMissing() && watch.wasRemoved(device.path) && isForgotten(device, watch, deadline);
}

/// Of a device that was withdrawn. An adapter that is unplugged and a daemon that ends withdraw their devices too, and
/// those keep their bonds.
bool BluezClassicAdapter::isForgotten(const BluezDevice& device, const BluezWatch& watch, Deadline deadline) const {
  const auto isGoneWithIt = [&] { return watch.wasRemoved(device.adapterPath) || watch.isOver(); };
  const auto limit = std::min(Seconds(deadline - Clock::now()), BluezBus::quickCallLimit);
  const auto look = bus_.callWithEvents(bus_.objectsCall(), limit, isGoneWithIt);
  if (isGoneWithIt() || !watch.isStillThere()) return false;
  if (look.isMissing()) return true;  // the adapter would have been withdrawn by now
  const auto objects = BluezObjects::fromReply(look.reply.get());
  const auto* found = objects.deviceWithAddress(device.adapterPath, device.address);
  return objects.adapterAt(device.adapterPath) && !(found && found->isPaired);
}

const BluezAdapter* BluezClassicAdapter::chosenFrom(const BluezObjects& objects) const {
  const auto& adapters = objects.adapters;
  const auto isWanted = [this](const BluezAdapter& adapter) {
    return wantedAddress_.empty() ? adapter.isPowered : isSameAddress(adapter.address, wantedAddress_);
  };
  const auto found = std::find_if(adapters.begin(), adapters.end(), isWanted);
  if (found != adapters.end()) return &*found;
  return wantedAddress_.empty() && !adapters.empty() ? &adapters.front() : nullptr;
}

BluezClassicAdapter::Sight BluezClassicAdapter::sightOf(const BluezAdapter* adapter, const BluezObjects& objects,
                                                        const std::string& address) {
  if (!adapter) return {};
  const auto* device = objects.deviceWithAddress(adapter->path, address);
  return {.isPowered = adapter->isPowered, .device = device ? std::optional(*device) : std::nullopt};
}

}  // namespace zolvex
