#pragma once

#include "lab/Computer.h"
#include "lab/EventWait.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>
#include <gtest/gtest.h>

#include <functional>
#include <optional>

namespace zolvex::lab {

/// A client of a computer's bus with a connection of its own. All waiting serves the event loop, because the daemon
/// that is asked lives on the same thread.
class BusClient : public QObject {
  Q_OBJECT

 public:
  using Objects = QMap<QString, QMap<QString, QVariantMap>>;

  explicit BusClient(const QString& busAddress);
  ~BusClient() override;

  QDBusConnection connection() const { return connection_; }

  /// The reply or the error; an invalid message when neither came within the limit.
  QDBusMessage call(const QString& path, const QString& interface, const QString& member,
                    const QVariantList& arguments = {}, int limitMilliseconds = 5'000);
  QDBusMessage adapter(const QString& member, const QVariantList& arguments = {});
  QDBusMessage device(const QString& address, const QString& member, const QVariantList& arguments = {});
  QDBusMessage removeDevice(const QString& address, int limitMilliseconds = 5'000);

  /// Sends a call and does not wait for its answer.
  void send(const QString& path, const QString& interface, const QString& member, const QVariantList& arguments = {});

  /// Absent properties are invalid.
  QVariant property(const QString& path, const QString& interface, const QString& name);
  QVariant deviceProperty(const QString& address, const QString& name);
  QDBusMessage setProperty(const QString& path, const QString& interface, const QString& name, const QVariant& value);

  QStringList devicePaths();

  /// "NAME PATH" of each signal of the service's objects so far.
  QStringList signalLog;

  /// "PROPERTY=VALUE" of each property of theirs that was announced as changed, those announced together by name.
  QStringList changeLog;

 private Q_SLOTS:
  void onSignal(const QDBusMessage& message);

 private:
  QString connectionName_;
  QDBusConnection connection_;
};

/// Serves the event loop until `condition` holds; false when it does not within 5 s.
inline bool waitUntil(const std::function<bool()>& condition) {
  return waitUntil(condition, std::chrono::seconds(5));
}

/// Laptop and a client on it, with the three devices on the radio.
class BluezTest : public testing::Test {
 protected:
  explicit BluezTest(BluezTiming timing = {});
  void SetUp() override;

  /// Discovers until the device is an object.
  void find(const QString& address);

  Radio radio;
  Computer laptop;
  std::optional<BusClient> client;
  QString keyboard;
  QString mouse;
};

}  // namespace zolvex::lab
