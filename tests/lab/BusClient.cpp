#include "lab/BusClient.h"

#include "lab/bus/BusNames.h"

#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QEventLoop>
#include <QTimer>

#include <atomic>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

const auto bluez = u"org.bluez"_s;

QString nextName() {
  static std::atomic<int> count = 0;
  return u"bus-client-%1"_s.arg(++count);
}

}  // namespace

BusClient::BusClient(const QString& busAddress)
    : connectionName_(nextName()), connection_(QDBusConnection::connectToBus(busAddress, connectionName_)) {
  for (const auto& member : {u"InterfacesAdded"_s, u"InterfacesRemoved"_s, u"PropertiesChanged"_s})
    connection_.connect(bluez, {}, {}, member, this, SLOT(onSignal(QDBusMessage)));
}

BusClient::~BusClient() {
  QDBusConnection::disconnectFromBus(connectionName_);
}

QDBusMessage BusClient::call(const QString& path, const QString& interface, const QString& member,
                             const QVariantList& arguments, int limitMilliseconds) {
  auto message = QDBusMessage::createMethodCall(bluez, path, interface, member);
  message.setArguments(arguments);
  QDBusPendingCallWatcher watcher(connection_.asyncCall(message, 60'000));
  QEventLoop loop;
  connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
  QTimer::singleShot(limitMilliseconds, &loop, &QEventLoop::quit);
  if (!watcher.isFinished()) loop.exec();
  return watcher.isFinished() ? watcher.reply() : QDBusMessage();
}

QDBusMessage BusClient::adapter(const QString& member, const QVariantList& arguments) {
  return call(AdapterInterface::path(), u"org.bluez.Adapter1"_s, member, arguments);
}

QDBusMessage BusClient::device(const QString& address, const QString& member, const QVariantList& arguments) {
  return call(DeviceInterface::pathOf(address), u"org.bluez.Device1"_s, member, arguments);
}

QDBusMessage BusClient::removeDevice(const QString& address, int limitMilliseconds) {
  return call(AdapterInterface::path(), u"org.bluez.Adapter1"_s, u"RemoveDevice"_s,
              {QVariant::fromValue(QDBusObjectPath(DeviceInterface::pathOf(address)))}, limitMilliseconds);
}

void BusClient::send(const QString& path, const QString& interface, const QString& member,
                     const QVariantList& arguments) {
  auto message = QDBusMessage::createMethodCall(bluez, path, interface, member);
  message.setArguments(arguments);
  connection_.asyncCall(message, 60'000);
}

QVariant BusClient::property(const QString& path, const QString& interface, const QString& name) {
  const auto reply = call(path, propertiesInterface, u"Get"_s, {interface, name});
  if (reply.type() != QDBusMessage::ReplyMessage) return {};
  return reply.arguments().value(0).value<QDBusVariant>().variant();
}

QVariant BusClient::deviceProperty(const QString& address, const QString& name) {
  return property(DeviceInterface::pathOf(address), u"org.bluez.Device1"_s, name);
}

QDBusMessage BusClient::setProperty(const QString& path, const QString& interface, const QString& name,
                                    const QVariant& value) {
  return call(path, propertiesInterface, u"Set"_s, {interface, name, QVariant::fromValue(QDBusVariant(value))});
}

QStringList BusClient::devicePaths() {
  using Map = QMap<QDBusObjectPath, QMap<QString, QVariantMap>>;
  const auto reply = call(u"/"_s, u"org.freedesktop.DBus.ObjectManager"_s, u"GetManagedObjects"_s);
  QStringList paths;
  const auto objects = qdbus_cast<Map>(reply.arguments().value(0));
  for (auto it = objects.begin(); it != objects.end(); ++it)
    if (it.value().contains(u"org.bluez.Device1"_s)) paths.append(it.key().path());
  return paths;
}

void BusClient::onSignal(const QDBusMessage& message) {
  const auto first = message.arguments().value(0);
  const auto path = first.canConvert<QDBusObjectPath>() ? first.value<QDBusObjectPath>().path() : message.path();
  signalLog.append(message.member() + u' ' + path);
  if (message.member() != u"PropertiesChanged"_s) return;
  const auto changed = qdbus_cast<QVariantMap>(message.arguments().value(1));
  for (auto it = changed.begin(); it != changed.end(); ++it) changeLog.append(it.key() + u'=' + it->toString());
}

BluezTest::BluezTest(BluezTiming timing) : laptop(radio, u"Laptop"_s, timing) {
  for (const auto& one : magicDevices()) radio.addDevice(one);
  keyboard = radio.addressOf(u"Magic Keyboard"_s);
  mouse = radio.addressOf(u"Magic Mouse"_s);
}

void BluezTest::SetUp() {
  ASSERT_TRUE(laptop.start()) << laptop.errorString().toStdString();
  client.emplace(laptop.busAddress());
}

void BluezTest::find(const QString& address) {
  ASSERT_EQ(client->adapter(u"StartDiscovery"_s).type(), QDBusMessage::ReplyMessage);
  ASSERT_TRUE(waitUntil([&] { return client->devicePaths().contains(DeviceInterface::pathOf(address)); }));
}

}  // namespace zolvex::lab
