#include "lab/bluez/DeviceInterface.h"

#include "lab/bluez/AdapterInterface.h"
#include "lab/bluez/BluezErrors.h"

#include <QDBusObjectPath>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr qint16 signalStrength = -52;

}  // namespace

DeviceInterface::DeviceInterface(BluezHost& host, AgentManager& agents, const QString& address)
    : host_(host), agents_(agents), address_(address) {
  connect(&host.tree, &BusTree::clientLeft, this, &DeviceInterface::onClientLeft);
  connect(&host.radio, &Radio::faultsChanged, this, &DeviceInterface::resumeConnection);
  bareLinkTimer_.setSingleShot(true);
  connect(&bareLinkTimer_, &QTimer::timeout, this, [this] { setBareLink(false); });
}

DeviceInterface::~DeviceInterface() = default;

QString DeviceInterface::pathOf(const QString& address) {
  return AdapterInterface::path() + u"/dev_"_s + QString(address).replace(u':', u'_');
}

const VirtualDevice& DeviceInterface::device() const {
  return *host_.radio.device(address_);
}

bool DeviceInterface::isBonded() const {
  return host_.radio.holder(address_) == host_.identity.computer;
}

bool DeviceInterface::isConnected() const {
  return host_.radio.connectedTo(address_) == host_.identity.computer;
}

QString DeviceInterface::name() const {
  return u"org.bluez.Device1"_s;
}

QVariantMap DeviceInterface::properties() const {
  const auto stored = host_.storage.value(address_);
  QVariantMap all{
      {u"Adapter"_s, QVariant::fromValue(QDBusObjectPath(AdapterInterface::path()))},
      {u"Address"_s, address_},
      {u"AddressType"_s, u"public"_s},
      {u"Alias"_s, stored.alias.isEmpty() ? device().name : stored.alias},
      {u"Blocked"_s, false},
      {u"Bonded"_s, isBonded()},
      {u"Class"_s, device().deviceClass},
      {u"Connected"_s, isConnected() || hasBareLink_},
      {u"LegacyPairing"_s, false},
      {u"Name"_s, device().name},
      {u"Paired"_s, isBonded() || isConnected()},
      {u"ServicesResolved"_s, isConnected()},
      {u"Trusted"_s, stored.isTrusted},
      {u"UUIDs"_s, device().profiles},
  };
  if (!device().icon.isEmpty()) all.insert(u"Icon"_s, device().icon);
  if (isHeard_) all.insert(u"RSSI"_s, QVariant::fromValue(signalStrength));
  return all;
}

// The daemon tells that a bond is made. That it ends is told by `Paired` alone.
QStringList DeviceInterface::silentProperties() const {
  return isBonded() ? QStringList{} : QStringList{u"Bonded"_s};
}

bool DeviceInterface::handle(const BusCall& call) {
  if (call.member() == u"Pair"_s) return pair(call), true;
  if (call.member() == u"CancelPairing"_s) return cancelPairing(call), true;
  if (call.member() == u"Connect"_s) return connectDevice(call), true;
  if (call.member() == u"Disconnect"_s) return disconnectDevice(call), true;
  return false;
}

void DeviceInterface::pair(const BusCall& call) {
  if (isBonded() || host_.suffers(FaultKind::halfBonded, address_)) return fail(call, bluezError::alreadyExists);
  if (pairing_) return fail(call, bluezError::pairingInProgress);
  pairing_ = std::make_unique<Pairing>(host_, agents_, address_, call);
  connect(pairing_.get(), &Pairing::reached, this, [this] { setBareLink(true); });
  connect(pairing_.get(), &Pairing::notReached, this, &DeviceInterface::lost, Qt::QueuedConnection);
  connect(pairing_.get(), &Pairing::finished, this, [this] {
    if (hasBareLink_) raiseBareLink(host_.identity.timing.idleLinkLife);
    pairing_.release()->deleteLater();
    Q_EMIT idle();
  });
  pairing_->start();
}

void DeviceInterface::cancelPairing(const BusCall& call) {
  if (!pairing_) return fail(call, bluezError::doesNotExist);
  pairing_->cancel();
  call.reply();
}

void DeviceInterface::connectDevice(const BusCall& call) {
  if (!host_.isPowered()) return fail(call, bluezError::notReady);
  if (isConnected()) return call.reply();
  if (connecting_) return fail(call, bluezError::connectBusy);
  if (device().profiles.isEmpty()) return fail(call, bluezError::noProfile);
  connecting_ = call;
  if (host_.diesOf(address_)) return;
  isHanging_ = host_.suffers(FaultKind::hangsOnConnect, address_);
  if (isHanging_) return setBareLink(true);
  BluezHost::after(host_.latency(address_), this, [this, call] { openLink(call); });
}

// A device that hung and answers again is connected on the link that it has.
void DeviceInterface::resumeConnection() {
  if (!isHanging_ || host_.suffers(FaultKind::hangsOnConnect, address_)) return;
  isHanging_ = hasBareLink_ = false;
  openLink(BusCall(*connecting_));
}

void DeviceInterface::openLink(const BusCall& call) {
  connecting_.reset();
  const auto answer =
      host_.isPowered() ? host_.radio.openLink(host_.identity.computer, address_) : RadioAnswer::unreachable;
  if (answer == RadioAnswer::refused) raiseBareLink(host_.identity.timing.idleLinkLife);
  // The link is gone before its coming is told, and its end is told after the answer.
  if (answer == RadioAnswer::bondRefused)
    BluezHost::after(host_.latency(address_), this,
                     [this] { host_.tree.announce(pathOf(address_), name(), u"Connected"_s); });
  if (answer == RadioAnswer::accepted) setBareLink(false);
  if (answer == RadioAnswer::accepted && !host_.suffers(FaultKind::connectReplyLost, address_))
    call.reply();
  else if (answer != RadioAnswer::accepted)
    fail(call, answer == RadioAnswer::missed ? bluezError::pageTimeout : bluezError::createSocket);
  Q_EMIT idle();
}

void DeviceInterface::setBareLink(bool isUp) {
  hasBareLink_ = isUp;
  bareLinkTimer_.stop();
  host_.tree.publishChanges(pathOf(address_));
}

void DeviceInterface::raiseBareLink(BluezTiming::Duration life) {
  setBareLink(true);
  bareLinkTimer_.start(life);
}

void DeviceInterface::abortConnection() {
  setBareLink(false);
  isHanging_ = false;
  if (connecting_ && !host_.suffers(FaultKind::connectReplyLost, address_))
    fail(*connecting_, bluezError::createSocket);
  connecting_.reset();
}

void DeviceInterface::disconnectDevice(const BusCall& call) {
  if (!isConnected() && !hasBareLink_) return call.reply();
  BluezHost::after(host_.identity.timing.disconnection, this, [this, call] {
    host_.radio.closeLink(host_.identity.computer, address_);
    setBareLink(false);
    call.reply();
    Q_EMIT idle();
  });
}

// A connection that is under way goes on without its caller; one that hangs is given up with it.
void DeviceInterface::onClientLeft(const QString& client) {
  if (!isHanging_ || connecting_->sender() != client) return;
  isHanging_ = false;
  connecting_.reset();
  raiseBareLink(host_.identity.timing.idleLinkLife);
  Q_EMIT idle();
}

void DeviceInterface::setProperty(const BusCall& call, const QString& property, const QVariant& value) {
  auto& stored = host_.storage[address_];
  if (property == u"Trusted"_s && value.typeId() == QMetaType::Bool)
    stored.isTrusted = value.toBool();
  else if (property == u"Alias"_s && value.typeId() == QMetaType::QString)
    stored.alias = value.toString();
  else if (property == u"Trusted"_s || property == u"Alias"_s)
    return fail(call, bluezError::wrongType);
  else
    return BusInterface::setProperty(call, property, value);
  call.reply();
  host_.tree.publishChanges(pathOf(address_));
}

QString DeviceInterface::introspection() const {
  return QStringLiteral(R"(<method name="Disconnect"/>
<method name="Connect"/>
<method name="Pair"/>
<method name="CancelPairing"/>
<property name="Address" type="s" access="read"/>
<property name="AddressType" type="s" access="read"/>
<property name="Name" type="s" access="read"/>
<property name="Alias" type="s" access="readwrite"/>
<property name="Class" type="u" access="read"/>
<property name="Icon" type="s" access="read"/>
<property name="Paired" type="b" access="read"/>
<property name="Bonded" type="b" access="read"/>
<property name="Trusted" type="b" access="readwrite"/>
<property name="Blocked" type="b" access="read"/>
<property name="LegacyPairing" type="b" access="read"/>
<property name="RSSI" type="n" access="read"/>
<property name="Connected" type="b" access="read"/>
<property name="UUIDs" type="as" access="read"/>
<property name="Adapter" type="o" access="read"/>
<property name="ServicesResolved" type="b" access="read"/>
)");
}

}  // namespace zolvex::lab
