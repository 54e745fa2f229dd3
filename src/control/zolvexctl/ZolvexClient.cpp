#include "control/zolvexctl/ZolvexClient.h"

#include "control/ControlNames.h"
#include "platform/linux/BusAddress.h"
#include "platform/linux/BusProbe.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusServiceWatcher>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::control {

namespace {

constexpr auto connectionName = "zolvexctl"_L1;

QString notRunning() {
  return u"Zolvex is not running. Start it with: zolvex"_s;
}

ZolvexClient::Failure failureOf(const QDBusMessage& reply) {
  if (reply.errorName() == "org.freedesktop.DBus.Error.NameHasNoOwner"_L1) return {true, notRunning(), {}};
  switch (QDBusError(reply).type()) {
    case QDBusError::ServiceUnknown:
      return {true, notRunning(), {}};
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
      return {true, u"Zolvex does not answer."_s, {}};
    case QDBusError::Disconnected:
      return {true, u"Zolvex is not running: the session bus is gone."_s, {}};
    default:
      return {false, reply.errorMessage(), reply.errorName()};
  }
}

/// Not connected when there is no bus that answers: Qt would wait for one that never speaks, without a limit.
QDBusConnection connected() {
  const auto address = sessionBusAddress();
  return busAnswers(address) ? QDBusConnection::connectToBus(QString::fromStdString(address), connectionName)
                             : QDBusConnection(connectionName);
}

}  // namespace

ZolvexClient::ZolvexClient() : connection_(connected()) {}

ZolvexClient::~ZolvexClient() {
  QDBusConnection::disconnectFromBus(connectionName);
}

ZolvexClient::Result ZolvexClient::call(const QString& method, const QVariantList& arguments,
                                        std::chrono::milliseconds limit) {
  auto message = QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName, method);
  message.setArguments(arguments);
  return send(message, limit);
}

ZolvexClient::State ZolvexClient::state() {
  auto message = QDBusMessage::createMethodCall(serviceName, objectPath, propertiesInterface, u"GetAll"_s);
  message << QString(interfaceName);
  const auto result = send(message, callLimit);
  if (const auto* failure = std::get_if<Failure>(&result)) return *failure;
  return qdbus_cast<QVariantMap>(std::get<QVariantList>(result).value(0));
}

ZolvexClient::Result ZolvexClient::send(const QDBusMessage& message, std::chrono::milliseconds limit) {
  if (!connection_.isConnected())
    return Failure{true,
                   u"Zolvex is not running: there is no session bus. Log in to a desktop session, or set "
                   "DBUS_SESSION_BUS_ADDRESS to the one that Zolvex uses."_s,
                   {}};
  auto call = message;
  call.setAutoStartService(false);
  const auto reply = connection_.call(call, QDBus::Block, static_cast<int>(limit.count()));
  if (reply.type() == QDBusMessage::ErrorMessage) return failureOf(reply);
  return reply.arguments();
}

void ZolvexClient::watch() {
  connection_.connect(serviceName, objectPath, propertiesInterface, u"PropertiesChanged"_s, this,
                      SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
  connection_.connect(serviceName, objectPath, interfaceName, u"Logged"_s, this, SLOT(loggedLine(QString, QString)));
  connection_.connect(QString(), u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s, u"Disconnected"_s,
                      this, SLOT(disconnected()));
  auto* watcher = new QDBusServiceWatcher(serviceName, connection_, QDBusServiceWatcher::WatchForUnregistration, this);
  connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] { ended.emit(); });
}

void ZolvexClient::propertiesChanged(const QString& interface, const QVariantMap& values, const QStringList&) {
  if (interface != interfaceName) return;
  for (auto item = values.begin(); item != values.end(); ++item) assigned.emit(item.key(), item.value());
}

void ZolvexClient::loggedLine(const QString& category, const QString& message) {
  logged.emit(category, message);
}

void ZolvexClient::disconnected() {
  ended.emit();
}

}  // namespace zolvex::control
