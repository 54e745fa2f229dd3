#pragma once

#include "lab/PrivateBus.h"
#include "lab/bus/BusCall.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariant>

namespace zolvex::lab {

/// A client of one service of a bus, with a connection of its own. All waiting serves the event loop, because the
/// service lives on the same thread.
class ServiceClient : public QObject {
  Q_OBJECT

 public:
  ServiceClient(const QString& busAddress, QString service);
  ~ServiceClient() override;

  /// Notes signals of that name, whatever object of the service sends them.
  void follow(const QString& interface, const QString& signalName);

  /// The reply or the error; an invalid message when neither came within 5 s.
  QDBusMessage call(const QString& path, const QString& interface, const QString& member,
                    const QVariantList& arguments = {});

  /// Absent properties are invalid.
  QVariant property(const QString& path, const QString& interface, const QString& name);

  /// "NAME PATH ARGUMENT" of each signal that is followed, with its first argument where that is a simple one; those of
  /// changed properties "NAME=VALUE PATH".
  QStringList signalLog;

  QDBusConnection connection() const { return connection_; }

 private Q_SLOTS:
  void onSignal(const QDBusMessage& message);
  void onPropertiesChanged(const QDBusMessage& message);

 private:
  QString service_;
  QString connectionName_;
  QDBusConnection connection_;
};

}  // namespace zolvex::lab
