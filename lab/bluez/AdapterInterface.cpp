#include "lab/bluez/AdapterInterface.h"

#include "lab/bluez/BluezErrors.h"

#include <QDBusArgument>
#include <QDBusObjectPath>

#include <algorithm>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

const QStringList filterKeys{u"UUIDs"_s,         u"RSSI"_s,         u"Pathloss"_s, u"Transport"_s,
                             u"DuplicateData"_s, u"Discoverable"_s, u"Pattern"_s};
constexpr quint32 computerClass = 0x0c010c;

}  // namespace

AdapterInterface::AdapterInterface(BluezHost& host, AgentManager& agents) : host_(host), agents_(agents) {
  forgetTimer_.setSingleShot(true);
  connect(&forgetTimer_, &QTimer::timeout, this, &AdapterInterface::forgetFoundDevices);
  connect(&host.tree, &BusTree::clientLeft, this, [this](const QString& client) {
    filters_.remove(client);
    endDiscovery(client);
  });
}

QString AdapterInterface::path() {
  return u"/org/bluez/hci0"_s;
}

QString AdapterInterface::name() const {
  return u"org.bluez.Adapter1"_s;
}

QVariantMap AdapterInterface::properties() const {
  return {
      {u"Address"_s, host_.identity.adapterAddress},
      {u"AddressType"_s, u"public"_s},
      {u"Alias"_s, host_.identity.computer},
      {u"Class"_s, computerClass},
      {u"Discoverable"_s, false},
      {u"DiscoverableTimeout"_s, quint32{180}},
      {u"Discovering"_s, !discoverers_.isEmpty()},
      {u"Modalias"_s, u"usb:v1D6Bp0246d0542"_s},
      {u"Name"_s, host_.identity.computer},
      {u"Pairable"_s, false},
      {u"PairableTimeout"_s, quint32{0}},
      {u"Powered"_s, host_.isPowered()},
      {u"Roles"_s, QStringList{u"central"_s, u"peripheral"_s}},
      {u"UUIDs"_s, QStringList{}},
  };
}

bool AdapterInterface::handle(const BusCall& call) {
  if (call.member() == u"SetDiscoveryFilter"_s && call.signature() == u"a{sv}"_s) return setDiscoveryFilter(call), true;
  if (call.member() == u"GetDiscoveryFilters"_s) return call.reply({filterKeys}), true;
  if (call.member() == u"StartDiscovery"_s) return startDiscovery(call), true;
  if (call.member() == u"StopDiscovery"_s) return stopDiscovery(call), true;
  if (call.member() == u"RemoveDevice"_s && call.signature() == u"o"_s) return removeDevice(call), true;
  return false;
}

void AdapterInterface::exportDevices() {
  for (const auto& address : host_.radio.addresses()) update(address);
}

void AdapterInterface::withdrawDevices() {
  for (const auto& device : devices_) device->abortConnection();
  for (const auto& address : devices_.keys()) dropDevice(address);
}

void AdapterInterface::update(const QString& address) {
  if (!devices_.contains(address) && host_.radio.holder(address) == host_.identity.computer) addDevice(address);
  if (hears(address))
    BluezHost::after(host_.latency(address), this, [this, address] { listen(address); });
  else if (const auto found = devices_.value(address))
    found->setHeard(false);
  host_.tree.publishChanges(DeviceInterface::pathOf(address));
}

void AdapterInterface::updatePower() {
  if (!host_.isPowered()) {
    host_.radio.closeLinks(host_.identity.computer);
    for (const auto& device : devices_) device->abortConnection();
    for (const auto& client : QStringList(discoverers_)) endDiscovery(client);
  }
  host_.tree.publishChanges(path());
}

void AdapterInterface::setDiscoveryFilter(const BusCall& call) {
  const auto filter = qdbus_cast<QVariantMap>(call.arguments().value(0));
  const auto isKnown = [](const QString& key) { return filterKeys.contains(key); };
  if (!std::ranges::all_of(filter.keys(), isKnown)) return fail(call, bluezError::invalidArguments);
  const auto transport = filter.value(u"Transport"_s, u"auto"_s).toString();
  if (!QStringList{u"auto"_s, u"bredr"_s, u"le"_s}.contains(transport)) return fail(call, bluezError::invalidArguments);
  filters_.insert(call.sender(), filter);
  call.reply();
}

void AdapterInterface::startDiscovery(const BusCall& call) {
  if (!host_.isPowered()) return fail(call, bluezError::notReady);
  if (discoverers_.contains(call.sender())) return fail(call, bluezError::inProgress);
  discoverers_.append(call.sender());
  forgetTimer_.stop();
  BluezHost::after(host_.latency(), this, [this, call] {
    if (!discoverers_.contains(call.sender())) return fail(call, bluezError::notReady);
    call.reply();
    host_.tree.publishChanges(path());
    for (const auto& address : host_.radio.addresses()) update(address);
  });
}

void AdapterInterface::stopDiscovery(const BusCall& call) {
  if (!host_.isPowered()) return fail(call, bluezError::notReady);
  if (!discoverers_.contains(call.sender())) return fail(call, bluezError::noDiscovery);
  call.reply();
  endDiscovery(call.sender());
}

void AdapterInterface::endDiscovery(const QString& client) {
  if (discoverers_.removeAll(client) == 0 || !discoverers_.isEmpty()) return;
  host_.tree.publishChanges(path());
  for (const auto& address : devices_.keys()) update(address);
  forgetTimer_.start(host_.identity.timing.foundDeviceLife);
}

bool AdapterInterface::hears(const QString& address) const {
  return listensForClassic() && host_.isPowered() && host_.radio.isReachable(host_.identity.computer, address) &&
         host_.radio.connectedTo(address).isEmpty();
}

bool AdapterInterface::listensForClassic() const {
  return std::ranges::any_of(discoverers_, [this](const QString& client) {
    return filters_.value(client).value(u"Transport"_s).toString() != u"le"_s;
  });
}

void AdapterInterface::listen(const QString& address) {
  if (!hears(address)) return;
  if (!devices_.contains(address)) addDevice(address);
  devices_.value(address)->setHeard(true);
  host_.tree.publishChanges(DeviceInterface::pathOf(address));
}

void AdapterInterface::forgetFoundDevices() {
  if (!discoverers_.isEmpty()) return;
  for (const auto& address : devices_.keys())
    if (!devices_.value(address)->isInUse()) dropDevice(address);
}

void AdapterInterface::removeDevice(const BusCall& call) {
  if (!host_.isPowered()) return fail(call, bluezError::notReady);
  const auto address = addressAt(call.arguments().value(0).value<QDBusObjectPath>().path());
  if (address.isEmpty()) return fail(call, bluezError::doesNotExist);
  if (host_.diesOf(address) || host_.suffers(FaultKind::hangsOnRemove, address)) return;
  BluezHost::after(host_.latency(address), this, [this, call, address] { finishRemoval(call, address); });
}

// The object goes just after the reply, as with the real daemon, whose callers must bear either order.
void AdapterInterface::finishRemoval(const BusCall& call, const QString& address) {
  if (!devices_.contains(address)) return fail(call, bluezError::doesNotExist);
  host_.storage.remove(address);
  devices_.value(address)->abortConnection();
  for (const auto cured : {FaultKind::halfBonded, FaultKind::bondForgotten})
    host_.radio.spend(cured, host_.identity.computer, address);
  host_.radio.release(host_.identity.computer, address);
  if (!host_.suffers(FaultKind::removeReplyLost, address)) call.reply();
  dropDevice(address);
  update(address);
}

void AdapterInterface::addDevice(const QString& address) {
  const auto device = std::make_shared<DeviceInterface>(host_, agents_, address);
  connect(device.get(), &DeviceInterface::idle, this, [this] {
    if (discoverers_.isEmpty()) forgetTimer_.start(host_.identity.timing.foundDeviceLife);
  });
  connect(device.get(), &DeviceInterface::lost, this, [this, address] { dropDevice(address); });
  devices_.insert(address, device);
  device->setHeard(hears(address));
  host_.tree.add(DeviceInterface::pathOf(address), {device});
}

void AdapterInterface::dropDevice(const QString& address) {
  devices_.remove(address);
  host_.tree.remove(DeviceInterface::pathOf(address));
}

QString AdapterInterface::addressAt(const QString& devicePath) const {
  for (const auto& address : devices_.keys())
    if (DeviceInterface::pathOf(address) == devicePath) return address;
  return {};
}

void AdapterInterface::setProperty(const BusCall& call, const QString& property, const QVariant& value) {
  if (property != u"Powered"_s) return BusInterface::setProperty(call, property, value);
  if (value.typeId() != QMetaType::Bool) return fail(call, bluezError::wrongType);
  if (value.toBool() && host_.suffers(FaultKind::adapterOff)) return fail(call, bluezError::blocked);
  host_.isPoweredOff = !value.toBool();
  call.reply();
  updatePower();
}

QString AdapterInterface::introspection() const {
  return QStringLiteral(R"(<method name="StartDiscovery"/>
<method name="SetDiscoveryFilter"><arg name="properties" type="a{sv}" direction="in"/></method>
<method name="StopDiscovery"/>
<method name="RemoveDevice"><arg name="device" type="o" direction="in"/></method>
<method name="GetDiscoveryFilters"><arg name="filters" type="as" direction="out"/></method>
<property name="Address" type="s" access="read"/>
<property name="AddressType" type="s" access="read"/>
<property name="Name" type="s" access="read"/>
<property name="Alias" type="s" access="read"/>
<property name="Class" type="u" access="read"/>
<property name="Powered" type="b" access="readwrite"/>
<property name="Discoverable" type="b" access="read"/>
<property name="DiscoverableTimeout" type="u" access="read"/>
<property name="Pairable" type="b" access="read"/>
<property name="PairableTimeout" type="u" access="read"/>
<property name="Discovering" type="b" access="read"/>
<property name="UUIDs" type="as" access="read"/>
<property name="Modalias" type="s" access="read"/>
<property name="Roles" type="as" access="read"/>
)");
}

}  // namespace zolvex::lab
