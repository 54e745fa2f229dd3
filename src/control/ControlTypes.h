#pragma once

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>

namespace zolvex::control {

/// One managed device; (ssb).
struct DeviceRow {
  QString address;
  QString name;
  bool isConnected = false;
};

/// One paired device; (ssbb).
struct PairedRow {
  QString address;
  QString name;
  bool isConnected = false;
  bool isManaged = false;
};

/// One other computer; (sssqbbx).
struct PeerRow {
  QString id;
  QString name;
  QString host;     ///< Empty when unknown.
  ushort port = 0;  ///< 0 when unknown.
  bool isActive = false;
  bool isReachable = false;     ///< When the row was made; it fades with time.
  qlonglong lastReachable = 0;  ///< Milliseconds since 1970; 0 for never.

  bool operator==(const PeerRow& other) const = default;
};

using DeviceRows = QList<DeviceRow>;
using PairedRows = QList<PairedRow>;
using PeerRows = QList<PeerRow>;

/// Makes the rows known to the bus. Before anything is sent or read; any number of times.
void registerTypes();

QDBusArgument& operator<<(QDBusArgument& argument, const DeviceRow& row);
const QDBusArgument& operator>>(const QDBusArgument& argument, DeviceRow& row);
QDBusArgument& operator<<(QDBusArgument& argument, const PairedRow& row);
const QDBusArgument& operator>>(const QDBusArgument& argument, PairedRow& row);
QDBusArgument& operator<<(QDBusArgument& argument, const PeerRow& row);
const QDBusArgument& operator>>(const QDBusArgument& argument, PeerRow& row);

}  // namespace zolvex::control

Q_DECLARE_METATYPE(zolvex::control::DeviceRow)
Q_DECLARE_METATYPE(zolvex::control::PairedRow)
Q_DECLARE_METATYPE(zolvex::control::PeerRow)
