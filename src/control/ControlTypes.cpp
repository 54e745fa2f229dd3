#include "control/ControlTypes.h"

#include <QDBusMetaType>

namespace zolvex::control {

void registerTypes() {
  qDBusRegisterMetaType<DeviceRow>();
  qDBusRegisterMetaType<DeviceRows>();
  qDBusRegisterMetaType<PairedRow>();
  qDBusRegisterMetaType<PairedRows>();
  qDBusRegisterMetaType<PeerRow>();
  qDBusRegisterMetaType<PeerRows>();
}

QDBusArgument& operator<<(QDBusArgument& argument, const DeviceRow& row) {
  argument.beginStructure();
  argument << row.address << row.name << row.isConnected;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DeviceRow& row) {
  argument.beginStructure();
  argument >> row.address >> row.name >> row.isConnected;
  argument.endStructure();
  return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const PairedRow& row) {
  argument.beginStructure();
  argument << row.address << row.name << row.isConnected << row.isManaged;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PairedRow& row) {
  argument.beginStructure();
  argument >> row.address >> row.name >> row.isConnected >> row.isManaged;
  argument.endStructure();
  return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const PeerRow& row) {
  argument.beginStructure();
  argument << row.id << row.name << row.host << row.port << row.isActive << row.isReachable << row.lastReachable;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PeerRow& row) {
  argument.beginStructure();
  argument >> row.id >> row.name >> row.host >> row.port >> row.isActive >> row.isReachable >> row.lastReachable;
  argument.endStructure();
  return argument;
}

}  // namespace zolvex::control
