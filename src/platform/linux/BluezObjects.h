#pragma once

#include <QDBusMessage>
#include <QString>

#include <optional>
#include <vector>

namespace zolvex {

/// An adapter as BlueZ describes it (org.bluez.Adapter1).
struct BluezAdapter {
  QString path;
  QString address;
  bool isPowered = false;
};

/// A device as BlueZ describes it (org.bluez.Device1).
struct BluezDevice {
  QString path;
  QString adapterPath;
  QString address;
  std::optional<QString> name;  ///< The alias, else the name it has given itself.
  bool isPaired = false;
  bool isBonded = false;  ///< The pairing will last. Older daemons do not tell; then it is `isPaired`.
  bool isTrusted = false;
  bool isConnected = false;
};

/// All adapters and devices that BlueZ had at one moment, each kind in the order of the object paths.
struct BluezObjects {
  std::vector<BluezAdapter> adapters;
  std::vector<BluezDevice> devices;

  /// From the answer to GetManagedObjects; empty when that is something else. Properties that are missing or of another
  /// type than they should count as their default.
  static BluezObjects fromReply(const QDBusMessage& reply);

  const BluezAdapter* adapterAt(const QString& path) const;
  const BluezDevice* deviceWithAddress(const QString& adapterPath, const QString& address) const;
};

}  // namespace zolvex
