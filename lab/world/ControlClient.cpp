#include "lab/world/ControlClient.h"

#include "lab/bus/BusNames.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

const auto service = u"quenmar.zolvex.app"_s;
const auto objectPath = u"/quenmar/zolvex/app"_s;
const auto controlInterface = u"quenmar.zolvex.app.Control"_s;
const auto busService = u"org.freedesktop.DBus"_s;
const auto devicesProperty = u"Devices"_s;
const auto switchingProperty = u"IsSwitching"_s;

/// Number of connected devices in a value of type a(ssb).
int countConnected(const QVariant& devices) {
  int count = 0;
  const auto argument = devices.value<QDBusArgument>();
  argument.beginArray();
  while (!argument.atEnd()) {
    QString address;
    QString name;
    bool isConnected = false;
    argument.beginStructure();
    argument >> address >> name >> isConnected;
    argument.endStructure();
    if (isConnected) ++count;
  }
  argument.endArray();
  return count;
}

}  // namespace

ControlClient::ControlClient(const QString& computer)
    : connectionName_(u"zolvex-lab-control-"_s + computer), connection_(connectionName_) {}

ControlClient::~ControlClient() {
  QDBusConnection::disconnectFromBus(connectionName_);
}

bool ControlClient::start(const QString& busAddress) {
  connection_ = QDBusConnection::connectToBus(busAddress, connectionName_);
  return connection_.connect(service, objectPath, propertiesInterface, u"PropertiesChanged"_s, this,
                             SLOT(onPropertiesChanged(QString, QVariantMap, QStringList))) &&
         connection_.connect(busService, u"/org/freedesktop/DBus"_s, busService, u"NameOwnerChanged"_s,
                             QStringList{service}, {}, this, SLOT(onOwnerChanged(QString, QString, QString)));
}

void ControlClient::onOwnerChanged(const QString&, const QString&, const QString& newOwner) {
  if (!newOwner.isEmpty()) return readAll();
  properties_.clear();
  connectedDevices_ = 0;
}

void ControlClient::readAll() {
  auto message = QDBusMessage::createMethodCall(service, objectPath, propertiesInterface, u"GetAll"_s);
  message.setArguments({controlInterface});
  auto* watcher = new QDBusPendingCallWatcher(connection_.asyncCall(message), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<QVariantMap> reply = *watcher;
    if (reply.isError()) return;
    take(reply.value());
  });
}

void ControlClient::onPropertiesChanged(const QString& interface, const QVariantMap& changedValues,
                                        const QStringList& invalidated) {
  if (interface != controlInterface) return;
  auto values = changedValues;
  // Between the two passes of a connection it is false for a moment, which only a fresh look tells from the end.
  if (values.contains(switchingProperty) && !values.take(switchingProperty).toBool())
    lookWhetherSwitching();
  else
    values = changedValues;
  take(values);
  if (!invalidated.isEmpty()) readAll();
}

void ControlClient::lookWhetherSwitching() {
  auto message = QDBusMessage::createMethodCall(service, objectPath, propertiesInterface, u"Get"_s);
  message.setArguments({controlInterface, switchingProperty});
  auto* watcher = new QDBusPendingCallWatcher(connection_.asyncCall(message), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<QDBusVariant> reply = *watcher;
    if (!reply.isError()) take({{switchingProperty, reply.value().variant()}});
  });
}

void ControlClient::take(const QVariantMap& values) {
  for (auto it = values.begin(); it != values.end(); ++it) {
    properties_.insert(it.key(), it.value());
    if (it.key() == devicesProperty) connectedDevices_ = countConnected(it.value());
    const auto value = it.key() == devicesProperty ? u"%1 connected"_s.arg(connectedDevices_) : it.value().toString();
    Q_EMIT changed(it.key(), value);
  }
}

void ControlClient::connectToThisMac(bool connectMissing) {
  call(u"ConnectToThisMac"_s, {connectMissing});
}

void ControlClient::forceConnect(bool connectMissing) {
  call(u"ForceConnect"_s, {connectMissing});
}

void ControlClient::release() {
  call(u"Release"_s);
}

void ControlClient::call(const QString& member, const QVariantList& arguments) {
  auto message = QDBusMessage::createMethodCall(service, objectPath, controlInterface, member);
  message.setArguments(arguments);
  connection_.asyncCall(message);
}

}  // namespace zolvex::lab
