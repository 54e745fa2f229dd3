#include "platform/linux/BluezWatch.h"

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

// No match names a service by its well-known name: QtDBus would then ask for its owner in a way that aborts the process
// when the bus has just gone.
BluezWatch::BluezWatch(const BluezBus& bus) : connection_(bus.connection()), owner_(bus.owner()) {
  const auto daemon = u"org.freedesktop.DBus"_s;
  const auto local = u"org.freedesktop.DBus.Local"_s;
  const auto manager = u"org.freedesktop.DBus.ObjectManager"_s;
  connection_.connect({}, u"/org/freedesktop/DBus/Local"_s, local, u"Disconnected"_s, this, SLOT(onDisconnected()));
  connection_.connect({}, u"/org/freedesktop/DBus"_s, daemon, u"NameOwnerChanged"_s, {owner_}, {}, this,
                      SLOT(onOwnerChanged()));
  connection_.connect(owner_, u"/"_s, manager, u"InterfacesAdded"_s, this, SLOT(onInterfacesAdded()));
  connection_.connect(owner_, u"/"_s, manager, u"InterfacesRemoved"_s, this,
                      SLOT(onInterfacesRemoved(QDBusObjectPath, QStringList)));
  // It may have ended before the match was in place.
  isOver_ = owner_.isEmpty() || bus.owner() != owner_;
}

void BluezWatch::followDevice(const QString& path) {
  connection_.connect(owner_, path, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s, this,
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

void BluezWatch::onOwnerChanged() {
  isOver_ = true;  // a unique name changes only by its end
}

void BluezWatch::onDisconnected() {
  isOver_ = true;
}

}  // namespace zolvex
