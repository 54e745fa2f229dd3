#include "platform/linux/BluezBus.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QTimer>

#include <chrono>
#include <utility>

namespace zolvex {

namespace {

const auto propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

std::chrono::milliseconds rounded(Seconds duration) {
  return std::chrono::ceil<std::chrono::milliseconds>(duration);
}

int milliseconds(Seconds duration) {
  return static_cast<int>(rounded(duration).count());
}

}  // namespace

BluezBus::BluezBus(QDBusConnection connection, QString service)
    : connection_(std::move(connection)), service_(std::move(service)) {}

QDBusMessage BluezBus::call(const QString& path, const QString& interface, const QString& member,
                            const QVariantList& arguments, Seconds limit) const {
  return connection_.call(methodCall(path, interface, member, arguments), QDBus::Block, milliseconds(limit));
}

QDBusMessage BluezBus::callWithEvents(const QDBusMessage& message, Seconds limit,
                                      const std::function<bool()>& isEnough) const {
  const QDBusPendingCallWatcher watcher(connection_.asyncCall(message, milliseconds(limit)));
  waitUntil([&] { return watcher.isFinished() || isEnough(); }, limit);
  return watcher.isFinished() ? watcher.reply() : QDBusMessage();
}

void BluezBus::tell(const QString& path, const QString& interface, const QString& member,
                    const QVariantList& arguments) const {
  connection_.send(methodCall(path, interface, member, arguments));
}

QVariant BluezBus::property(const QString& path, const QString& interface, const QString& name) const {
  const auto reply = call(path, propertiesInterface, QStringLiteral("Get"), {interface, name});
  if (reply.type() != QDBusMessage::ReplyMessage) return {};
  return reply.arguments().value(0).value<QDBusVariant>().variant();
}

QDBusMessage BluezBus::setProperty(const QString& path, const QString& interface, const QString& name,
                                   const QVariant& value) const {
  return call(path, propertiesInterface, QStringLiteral("Set"),
              {interface, name, QVariant::fromValue(QDBusVariant(value))});
}

BluezObjects BluezBus::objects() const {
  return BluezObjects::fromReply(call(QStringLiteral("/"), QStringLiteral("org.freedesktop.DBus.ObjectManager"),
                                      QStringLiteral("GetManagedObjects")));
}

QString BluezBus::owner() const {
  const auto bus = QStringLiteral("org.freedesktop.DBus");
  auto question =
      QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("GetNameOwner"));
  question.setArguments({service_});
  return connection_.call(question, QDBus::Block, milliseconds(quickCallLimit)).arguments().value(0).toString();
}

bool BluezBus::waitUntil(const std::function<bool()>& isEnough, Seconds limit) {
  const QDeadlineTimer deadline(rounded(limit), Qt::PreciseTimer);
  QTimer wake;  // ends the last wait for an event
  wake.setSingleShot(true);
  wake.setTimerType(Qt::PreciseTimer);
  while (!isEnough()) {
    if (deadline.hasExpired()) return false;
    if (!wake.isActive()) wake.start(std::chrono::ceil<std::chrono::milliseconds>(deadline.remainingTimeAsDuration()));
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  }
  return true;
}

QDBusMessage BluezBus::methodCall(const QString& path, const QString& interface, const QString& member,
                                  const QVariantList& arguments) const {
  auto message = QDBusMessage::createMethodCall(service_, path, interface, member);
  message.setArguments(arguments);
  return message;
}

}  // namespace zolvex
