#include "lab/session/LogindTypes.h"

namespace zolvex::lab {

namespace {

template <class... Fields>
void write(QDBusArgument& argument, const Fields&... fields) {
  argument.beginStructure();
  (argument << ... << fields);
  argument.endStructure();
}

template <class... Fields>
void read(const QDBusArgument& argument, Fields&... fields) {
  argument.beginStructure();
  (argument >> ... >> fields);
  argument.endStructure();
}

}  // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const NamedObject& object) {
  return write(argument, object.name, object.path), argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NamedObject& object) {
  return read(argument, object.name, object.path), argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const NumberedObject& object) {
  return write(argument, object.number, object.path), argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NumberedObject& object) {
  return read(argument, object.number, object.path), argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const SessionRow& row) {
  return write(argument, row.id, row.user, row.userName, row.seat, row.path), argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, SessionRow& row) {
  return read(argument, row.id, row.user, row.userName, row.seat, row.path), argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const InhibitorRow& row) {
  return write(argument, row.what, row.who, row.why, row.mode, row.user, row.process), argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, InhibitorRow& row) {
  return read(argument, row.what, row.who, row.why, row.mode, row.user, row.process), argument;
}

void registerLogindTypes() {
  qDBusRegisterMetaType<NamedObject>();
  qDBusRegisterMetaType<NumberedObject>();
  qDBusRegisterMetaType<SessionRow>();
  qDBusRegisterMetaType<QList<SessionRow>>();
  qDBusRegisterMetaType<InhibitorRow>();
  qDBusRegisterMetaType<QList<InhibitorRow>>();
  qDBusRegisterMetaType<QList<NamedObject>>();
}

}  // namespace zolvex::lab
