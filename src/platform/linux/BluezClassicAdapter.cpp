#include "platform/linux/BluezClassicAdapter.h"

#include "platform/linux/BluezErrors.h"

#include <QDBusObjectPath>
#include <QVariantMap>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

Seconds remaining(const QDeadlineTimer& deadline) {
  return std::max(deadline.remainingTimeAsDuration(), std::chrono::nanoseconds(0));
}

/// BlueZ did not answer, which says nothing about what it has done.
bool isUnanswered(const QDBusMessage& answer) {
  return answer.type() == QDBusMessage::InvalidMessage || answer.errorName() == u"org.freedesktop.DBus.Error.NoReply";
}

}  // namespace

BluezClassicAdapter::BluezClassicAdapter(const BluezBus& bus, QString wantedAddress)
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

std::optional<BluezDevice> BluezClassicAdapter::known(const QString& address) const {
  const auto objects = bus_.objects();
  const auto* adapter = chosenFrom(objects);
  const auto* device = adapter ? objects.deviceWithAddress(adapter->path, address) : nullptr;
  return device ? std::optional(*device) : std::nullopt;
}

std::optional<BluezDevice> BluezClassicAdapter::inRange(const QString& address) const {
  const auto objects = bus_.objects();
  const auto* adapter = chosenFrom(objects);
  if (!adapter) return std::nullopt;
  if (const auto* device = objects.deviceWithAddress(adapter->path, address)) return *device;
  return discover(adapter->path, address);
}

std::optional<BluezDevice> BluezClassicAdapter::discover(const QString& adapterPath, const QString& address) const {
  const QDeadlineTimer deadline(std::chrono::ceil<std::chrono::milliseconds>(discoveryLimit));
  BluezWatch watch(bus_);
  const QVariantMap filter{{u"Transport"_s, u"bredr"_s}};
  bus_.call(adapterPath, bluez::adapterInterface, u"SetDiscoveryFilter"_s, {filter}, remaining(deadline));
  const auto started = bus_.call(adapterPath, bluez::adapterInterface, u"StartDiscovery"_s, {}, remaining(deadline));
  if (!isSuccess(started) && !isInProgress(started)) return std::nullopt;
  auto found = awaitArrival(watch, adapterPath, address, deadline);
  bus_.tell(adapterPath, bluez::adapterInterface, u"StopDiscovery"_s);
  return found;
}

std::optional<BluezDevice> BluezClassicAdapter::awaitArrival(BluezWatch& watch, const QString& adapterPath,
                                                             const QString& address,
                                                             const QDeadlineTimer& deadline) const {
  const auto hasNews = [&] { return watch.isOver() || watch.takeArrival(); };
  do {
    const auto objects = bus_.objects();
    if (const auto* device = objects.deviceWithAddress(adapterPath, address)) return *device;
  } while (BluezBus::waitUntil(hasNews, remaining(deadline)) && !watch.isOver());
  return std::nullopt;
}

bool BluezClassicAdapter::remove(const QString& address) const {
  const auto objects = bus_.objects();
  const auto* adapter = chosenFrom(objects);
  if (!adapter) return false;
  const auto* device = objects.deviceWithAddress(adapter->path, address);
  return !device || removeObject(*device);
}

bool BluezClassicAdapter::removeObject(const BluezDevice& device) const {
  const BluezWatch watch(bus_);
  const auto call = bus_.methodCall(device.adapterPath, bluez::adapterInterface, u"RemoveDevice"_s,
                                    {QVariant::fromValue(QDBusObjectPath(device.path))});
  const auto answer =
      bus_.callWithEvents(call, removalLimit, [&] { return watch.wasRemoved(device.path) || watch.isOver(); });
  if (isSuccess(answer) || isDoesNotExist(answer)) return true;
  // For a connected device the reply may never come although the device is gone. But an adapter that is unplugged and
  // a daemon that ends withdraw their devices too, and those keep their bonds.
  return isUnanswered(answer) && isForgotten(device) && !watch.isOver();
}

bool BluezClassicAdapter::isForgotten(const BluezDevice& device) const {
  const auto objects = bus_.objects();
  return objects.adapterAt(device.adapterPath) && !objects.deviceWithAddress(device.adapterPath, device.address);
}

const BluezAdapter* BluezClassicAdapter::chosenFrom(const BluezObjects& objects) const {
  const auto& adapters = objects.adapters;
  const auto isWanted = [this](const BluezAdapter& adapter) {
    return wantedAddress_.isEmpty() ? adapter.isPowered
                                    : adapter.address.compare(wantedAddress_, Qt::CaseInsensitive) == 0;
  };
  const auto found = std::find_if(adapters.begin(), adapters.end(), isWanted);
  if (found != adapters.end()) return &*found;
  return wantedAddress_.isEmpty() && !adapters.empty() ? &adapters.front() : nullptr;
}

}  // namespace zolvex
