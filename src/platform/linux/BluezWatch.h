#pragma once

#include "platform/linux/BluezBus.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <utility>

namespace zolvex {

/// Notes what BlueZ announces while it lives: for one operation that has to see an announcement which may come before
/// the answer to its call. The thread of the QCoreApplication.
class BluezWatch final : public QObject {
  Q_OBJECT

 public:
  explicit BluezWatch(const BluezBus& bus);

  /// Also notes the property changes of this device.
  void followDevice(const QString& path);

  /// BlueZ or the bus went away. What comes after that is another life of BlueZ.
  bool isOver() const { return isOver_; }

  bool wasRemoved(const QString& path) const { return removed_.contains(path); }

  /// Whether an object was announced since the last call of this.
  bool takeArrival() { return std::exchange(arrived_, false); }

  /// Whether a device property was announced to have become true.
  bool becameTrue(const QString& property) const { return changed_.value(property).toBool(); }

 private Q_SLOTS:
  void onInterfacesAdded();
  void onInterfacesRemoved(const QDBusObjectPath& path, const QStringList& interfaces);
  void onPropertiesChanged(const QString& interface, const QVariantMap& changed);
  void onOwnerChanged();
  void onDisconnected();

 private:
  QDBusConnection connection_;
  const QString owner_;  ///< Unique bus name of the BlueZ that is watched.
  bool isOver_ = false;
  bool arrived_ = false;
  QSet<QString> removed_;
  QVariantMap changed_;
};

}  // namespace zolvex
