#pragma once

#include "core/Time.h"
#include "platform/linux/BluezObjects.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantList>

#include <functional>

namespace zolvex {

namespace bluez {
inline const auto adapterInterface = QStringLiteral("org.bluez.Adapter1");
inline const auto deviceInterface = QStringLiteral("org.bluez.Device1");
inline const auto agentManagerInterface = QStringLiteral("org.bluez.AgentManager1");
inline const auto rootPath = QStringLiteral("/org/bluez");
}  // namespace bluez

/// Blocking calls to BlueZ. Every call ends at its limit at the latest, and at once when BlueZ or the bus goes away. It
/// ends with an error message then, as it does when there is no bus and no BlueZ at all.
/// Owned by the controller. One thread; the operations that handle events need it to be that of a QCoreApplication.
class BluezBus {
 public:
  /// Of calls that BlueZ answers from memory.
  static constexpr Seconds quickCallLimit{5.0};

  /// `service` is the bus name of BlueZ.
  BluezBus(QDBusConnection connection, QString service);

  const QDBusConnection& connection() const { return connection_; }
  const QString& service() const { return service_; }

  QDBusMessage call(const QString& path, const QString& interface, const QString& member,
                    const QVariantList& arguments = {}, Seconds limit = quickCallLimit) const;

  /// A call during which events of this thread are handled, so that announcements arrive and BlueZ can ask us back. It
  /// also ends when `isEnough` holds after an event; the message is of type InvalidMessage when no answer came.
  QDBusMessage callWithEvents(const QDBusMessage& message, Seconds limit, const std::function<bool()>& isEnough) const;

  /// Sends a call of which nobody wants to know the outcome.
  void tell(const QString& path, const QString& interface, const QString& member,
            const QVariantList& arguments = {}) const;

  /// A property read anew; invalid when it cannot be read.
  QVariant property(const QString& path, const QString& interface, const QString& name) const;
  QDBusMessage setProperty(const QString& path, const QString& interface, const QString& name,
                           const QVariant& value) const;

  /// Empty when BlueZ cannot say.
  BluezObjects objects() const;

  /// The unique bus name behind `service()`; empty when there is none.
  QString owner() const;

  /// Handles events until `isEnough` holds after one of them, or until `limit` has passed. Whether it holds.
  static bool waitUntil(const std::function<bool()>& isEnough, Seconds limit);

  QDBusMessage methodCall(const QString& path, const QString& interface, const QString& member,
                          const QVariantList& arguments = {}) const;

 private:
  QDBusConnection connection_;
  const QString service_;
};

}  // namespace zolvex
