#pragma once

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QList>
#include <QMetaType>
#include <QString>

namespace zolvex::lab {

/// An object of logind by its name: (so).
struct NamedObject {
  QString name;
  QDBusObjectPath path;
  bool operator==(const NamedObject&) const = default;
};

/// A user by number: (uo).
struct NumberedObject {
  quint32 number = 0;
  QDBusObjectPath path;
  bool operator==(const NumberedObject&) const = default;
};

/// A row of Manager.ListSessions: (susso).
struct SessionRow {
  QString id;
  quint32 user = 0;
  QString userName;
  QString seat;
  QDBusObjectPath path;
};

/// A row of Manager.ListInhibitors: (ssssuu).
struct InhibitorRow {
  QString what;
  QString who;
  QString why;
  QString mode;
  quint32 user = 0;
  quint32 process = 0;
};

/// Makes them known to Qt's D-Bus; any number of times.
void registerLogindTypes();

}  // namespace zolvex::lab

Q_DECLARE_METATYPE(zolvex::lab::NamedObject)
Q_DECLARE_METATYPE(zolvex::lab::NumberedObject)
Q_DECLARE_METATYPE(zolvex::lab::SessionRow)
Q_DECLARE_METATYPE(zolvex::lab::InhibitorRow)
