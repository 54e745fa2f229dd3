#include "platform/linux/BluezObjects.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QMap>
#include <QVariantMap>

#include <algorithm>

namespace zolvex {

namespace {

using Interfaces = QMap<QString, QVariantMap>;

QMap<QString, Interfaces> decoded(const QDBusMessage& reply) {
  QMap<QString, Interfaces> objects;
  if (reply.signature() != QStringLiteral("a{oa{sa{sv}}}")) return objects;
  const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
  argument.beginMap();
  while (!argument.atEnd()) {
    QDBusObjectPath path;
    Interfaces interfaces;
    argument.beginMapEntry();
    argument >> path >> interfaces;
    argument.endMapEntry();
    objects.insert(path.path(), interfaces);
  }
  argument.endMap();
  return objects;
}

std::optional<QString> nameFrom(const QVariantMap& properties) {
  for (const auto& key : {QStringLiteral("Alias"), QStringLiteral("Name")})
    if (const auto name = properties.value(key).toString(); !name.isEmpty()) return name;
  return std::nullopt;
}

BluezAdapter adapterFrom(const QString& path, const QVariantMap& properties) {
  return {.path = path,
          .address = properties.value(QStringLiteral("Address")).toString(),
          .isPowered = properties.value(QStringLiteral("Powered")).toBool()};
}

BluezDevice deviceFrom(const QString& path, const QVariantMap& properties) {
  const auto paired = properties.value(QStringLiteral("Paired"));
  return {.path = path,
          .adapterPath = properties.value(QStringLiteral("Adapter")).value<QDBusObjectPath>().path(),
          .address = properties.value(QStringLiteral("Address")).toString(),
          .name = nameFrom(properties),
          .isPaired = paired.toBool(),
          .isBonded = properties.value(QStringLiteral("Bonded"), paired).toBool(),
          .isTrusted = properties.value(QStringLiteral("Trusted")).toBool(),
          .isConnected = properties.value(QStringLiteral("Connected")).toBool()};
}

}  // namespace

BluezObjects BluezObjects::fromReply(const QDBusMessage& reply) {
  BluezObjects result;
  const auto objects = decoded(reply);
  for (auto object = objects.begin(); object != objects.end(); ++object) {
    if (const auto found = object->find(QStringLiteral("org.bluez.Adapter1")); found != object->end())
      result.adapters.push_back(adapterFrom(object.key(), *found));
    if (const auto found = object->find(QStringLiteral("org.bluez.Device1")); found != object->end())
      result.devices.push_back(deviceFrom(object.key(), *found));
  }
  return result;
}

const BluezAdapter* BluezObjects::adapterAt(const QString& path) const {
  const auto found =
      std::find_if(adapters.begin(), adapters.end(), [&](const BluezAdapter& adapter) { return adapter.path == path; });
  return found == adapters.end() ? nullptr : &*found;
}

const BluezDevice* BluezObjects::deviceWithAddress(const QString& adapterPath, const QString& address) const {
  const auto found = std::find_if(devices.begin(), devices.end(), [&](const BluezDevice& device) {
    return device.adapterPath == adapterPath && device.address.compare(address, Qt::CaseInsensitive) == 0;
  });
  return found == devices.end() ? nullptr : &*found;
}

}  // namespace zolvex
