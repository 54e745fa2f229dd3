#include "platform/linux/AvahiDaemon.h"

#include "core/Log.h"
#include "platform/linux/BusLink.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

const auto serviceName = u"org.freedesktop.Avahi"_s;
const auto serverPath = u"/"_s;
const auto serverInterface = u"org.freedesktop.Avahi.Server"_s;
const auto busService = u"org.freedesktop.DBus"_s;
const auto busPath = u"/org/freedesktop/DBus"_s;

constexpr int serverRunning = 2;  // AVAHI_SERVER_RUNNING

}  // namespace

AvahiDaemon::AvahiDaemon(BusLink& systemBus)
    : systemBus_(systemBus),
      arrival_(systemBus.arrived.observe([this] { busArrived(); })),
      loss_(systemBus.lost.observe([this] { setOwner({}); })) {
  if (systemBus_.isConnected()) busArrived();
}

void AvahiDaemon::busArrived() {
  // From any sender, because naming one would make a blocking call; the slot looks at who it was.
  systemBus_.connection().connect(QString(), busPath, busService, u"NameOwnerChanged"_s, {serviceName}, QString(), this,
                                  SLOT(ownerChanged(QDBusMessage)));
  auto question = QDBusMessage::createMethodCall(busService, busPath, busService, u"GetNameOwner"_s);
  question << serviceName;
  auto* watcher = new QDBusPendingCallWatcher(systemBus_.connection().asyncCall(question), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<QString> reply = *watcher;
    if (!reply.isError()) return setOwner(reply.value());
    if (owner_.isEmpty() && !std::exchange(isAbsenceLogged_, true)) logger.error("no Avahi daemon yet, waiting for it");
  });
}

void AvahiDaemon::ownerChanged(const QDBusMessage& message) {
  const auto arguments = message.arguments();
  if (message.service() != busService || arguments.size() != 3 || arguments.at(0).toString() != serviceName) return;
  setOwner(arguments.at(2).toString());
}

void AvahiDaemon::setOwner(const QString& owner) {
  if (owner == owner_) return;
  setState(0);
  if (!owner_.isEmpty()) {
    ignore(serverPath, serverInterface, u"StateChanged"_s, this, SLOT(stateChanged(QDBusMessage)));
    logger.error("lost the Avahi daemon, waiting for it");
  }
  owner_ = owner;
  if (owner_.isEmpty()) return;
  logger.info("found the Avahi daemon");
  isAbsenceLogged_ = false;
  listen(serverPath, serverInterface, u"StateChanged"_s, this, SLOT(stateChanged(QDBusMessage)));
  callServer(serverInterface, u"GetState"_s, {}, this,
             [this](const QDBusMessage& reply) { setState(reply.arguments().value(0).toInt()); });
}

void AvahiDaemon::stateChanged(const QDBusMessage& message) {
  if (message.service() == owner_) setState(message.arguments().value(0).toInt());
}

void AvahiDaemon::setState(int state) {
  const auto isRunning = state == serverRunning;
  if (isRunning == isRunning_) return;
  isRunning_ = isRunning;
  isRunning ? started.emit() : ended.emit();
}

void AvahiDaemon::callServer(const QString& interface, const QString& method, const QVariantList& arguments,
                             QObject* context, Answer answer) {
  call(serverPath, interface, method, arguments, context, std::move(answer));
}

void AvahiDaemon::call(const QString& path, const QString& interface, const QString& method,
                       const QVariantList& arguments, QObject* context, Answer answer) {
  if (owner_.isEmpty() || !systemBus_.isConnected()) return;
  auto message = QDBusMessage::createMethodCall(owner_, path, interface, method);
  message.setArguments(arguments);
  auto* watcher = new QDBusPendingCallWatcher(systemBus_.connection().asyncCall(message), context);
  connect(watcher, &QDBusPendingCallWatcher::finished, context,
          [this, watcher, owner = owner_, answer = std::move(answer)] {
            watcher->deleteLater();
            if (owner == owner_) answer(watcher->reply());
          });
}

void AvahiDaemon::tell(const QString& path, const QString& interface, const QString& method) {
  if (owner_.isEmpty() || !systemBus_.isConnected()) return;
  auto message = QDBusMessage::createMethodCall(owner_, path, interface, method);
  message.setAutoStartService(false);
  systemBus_.connection().send(message);
}

void AvahiDaemon::listen(const QString& path, const QString& interface, const QString& signal, QObject* receiver,
                         const char* slot) {
  if (systemBus_.isConnected()) systemBus_.connection().connect(owner_, path, interface, signal, receiver, slot);
}

void AvahiDaemon::ignore(const QString& path, const QString& interface, const QString& signal, QObject* receiver,
                         const char* slot) {
  if (systemBus_.isConnected()) systemBus_.connection().disconnect(owner_, path, interface, signal, receiver, slot);
}

}  // namespace zolvex
