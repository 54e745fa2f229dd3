#include "lab/ServiceClient.h"

#include "lab/bus/BusNames.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QEventLoop>
#include <QTimer>

#include <atomic>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr int limitMilliseconds = 5'000;

QString nextName() {
  static std::atomic<int> count = 0;
  return u"service-client-%1"_s.arg(++count);
}

}  // namespace

ServiceClient::ServiceClient(const QString& busAddress, QString service)
    : service_(std::move(service)),
      connectionName_(nextName()),
      connection_(QDBusConnection::connectToBus(busAddress, connectionName_)) {
  connection_.connect(service_, {}, propertiesInterface, u"PropertiesChanged"_s, this,
                      SLOT(onPropertiesChanged(QDBusMessage)));
}

ServiceClient::~ServiceClient() {
  QDBusConnection::disconnectFromBus(connectionName_);
}

void ServiceClient::follow(const QString& interface, const QString& signalName) {
  connection_.connect(service_, {}, interface, signalName, this, SLOT(onSignal(QDBusMessage)));
}

QDBusMessage ServiceClient::call(const QString& path, const QString& interface, const QString& member,
                                 const QVariantList& arguments) {
  auto message = QDBusMessage::createMethodCall(service_, path, interface, member);
  message.setArguments(arguments);
  QDBusPendingCallWatcher watcher(connection_.asyncCall(message, limitMilliseconds));
  QEventLoop loop;
  connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
  QTimer::singleShot(limitMilliseconds, &loop, &QEventLoop::quit);
  if (!watcher.isFinished()) loop.exec();
  return watcher.isFinished() ? watcher.reply() : QDBusMessage();
}

QVariant ServiceClient::property(const QString& path, const QString& interface, const QString& name) {
  const auto reply = call(path, propertiesInterface, u"Get"_s, {interface, name});
  return reply.arguments().value(0).value<QDBusVariant>().variant();
}

void ServiceClient::onSignal(const QDBusMessage& message) {
  const auto first = message.arguments().value(0).toString();
  signalLog.append(u"%1 %2 %3"_s.arg(message.member(), message.path(), first).trimmed());
}

void ServiceClient::onPropertiesChanged(const QDBusMessage& message) {
  const auto changed = qdbus_cast<QVariantMap>(message.arguments().value(1));
  for (auto it = changed.begin(); it != changed.end(); ++it)
    signalLog.append(u"%1=%2 %3"_s.arg(it.key(), it.value().toString(), message.path()));
}

}  // namespace zolvex::lab
