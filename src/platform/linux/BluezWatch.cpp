#include "platform/linux/BluezWatch.h"

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

BluezWatch::BluezWatch(const BluezBus& bus) : bus_(bus) {
  const auto daemon = u"org.freedesktop.DBus"_s;
  const auto local = u"org.freedesktop.DBus.Local"_s;
  const auto manager = u"org.freedesktop.DBus.ObjectManager"_s;
  auto connection = bus_.connection();
  connection.connect({}, u"/org/freedesktop/DBus/Local"_s, local, u"Disconnected"_s, this, SLOT(onDisconnected()));
  connection.connect(daemon, u"/org/freedesktop/DBus"_s, daemon, u"NameOwnerChanged"_s, {bus_.service()}, {}, this,
                     SLOT(onOwnerChanged(QString, QString, QString)));
  connection.connect(bus_.service(), u"/"_s, manager, u"InterfacesAdded"_s, this, SLOT(onInterfacesAdded()));
  connection.connect(bus_.service(), u"/"_s, manager, u"InterfacesRemoved"_s, this,
                     SLOT(onInterfacesRemoved(QDBusObjectPath, QStringList)));
}

void BluezWatch::followDevice(const QString& path) {
  auto connection = bus_.connection();
  connection.connect(bus_.service(), path, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s, this,
                     SLOT(onPropertiesChanged(QString, QVariantMap)));
}

void BluezWatch::onInterfacesAdded() {
  arrived_ = true;
}

void BluezWatch::onInterfacesRemoved(const QDBusObjectPath& path, const QStringList& interfaces) {
  if (interfaces.contains(bluez::deviceInterface)) removed_.insert(path.path());
}

void BluezWatch::onPropertiesChanged(const QString& interface, const QVariantMap& changed) {
  if (interface == bluez::deviceInterface) changed_.insert(changed);
}

void BluezWatch::onOwnerChanged(const QString&, const QString& previous, const QString&) {
  if (!previous.isEmpty()) isOver_ = true;
}

void BluezWatch::onDisconnected() {
  isOver_ = true;
}

}  // namespace zolvex
