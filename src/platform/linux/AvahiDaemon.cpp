#include "platform/linux/AvahiDaemon.h"

#include "core/Log.h"
#include "platform/linux/AvahiObject.h"
#include "platform/linux/BusLink.h"

#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

const auto serviceName = u"org.freedesktop.Avahi"_s;
const auto serverPath = u"/"_s;
const auto serverInterface = u"org.freedesktop.Avahi.Server"_s;
const auto busService = u"org.freedesktop.DBus"_s;
const auto noReply = u"org.freedesktop.DBus.Error.NoReply"_s;
const auto busPath = u"/org/freedesktop/DBus"_s;

constexpr int serverGone = 0;     // AVAHI_SERVER_INVALID
constexpr int serverRunning = 2;  // AVAHI_SERVER_RUNNING

using InterfaceAndSignal = std::pair<QString, QString>;

const std::array signalsOfInterest{
    InterfaceAndSignal{serverInterface, u"StateChanged"_s},
    InterfaceAndSignal{u"org.freedesktop.Avahi.EntryGroup"_s, u"StateChanged"_s},
    InterfaceAndSignal{u"org.freedesktop.Avahi.ServiceBrowser"_s, u"ItemNew"_s},
    InterfaceAndSignal{u"org.freedesktop.Avahi.ServiceBrowser"_s, u"ItemRemove"_s},
    InterfaceAndSignal{u"org.freedesktop.Avahi.ServiceBrowser"_s, u"AllForNow"_s},
    InterfaceAndSignal{u"org.freedesktop.Avahi.ServiceBrowser"_s, u"Failure"_s},
    InterfaceAndSignal{u"org.freedesktop.Avahi.ServiceResolver"_s, u"Found"_s},
    InterfaceAndSignal{u"org.freedesktop.Avahi.ServiceResolver"_s, u"Failure"_s},
};

}  // namespace

AvahiDaemon::AvahiDaemon(BusLink& systemBus, Patience patience)
    : systemBus_(systemBus),
      patience_(patience),
      arrival_(systemBus.arrived.observe([this] { busArrived(); })),
      loss_(systemBus.lost.observe([this] { setOwner({}); })) {
  nextQuestion_.setSingleShot(true);
  connect(&nextQuestion_, &QTimer::timeout, this, [this] { askForState(); });
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
  setState(serverGone);
  listen(false);
  if (!owner_.isEmpty()) logger.error("lost the Avahi daemon, waiting for it");
  owner_ = owner;
  objects_.clear();
  earlySignals_.clear();
  objectsInTheMaking_ = 0;
  nextQuestion_.stop();
  if (owner_.isEmpty()) return;
  logger.info("found the Avahi daemon");
  isAbsenceLogged_ = false;
  isSilenceLogged_ = false;
  listen(true);
  askForState();
}

void AvahiDaemon::askForState() {
  call(
      serverPath, serverInterface, u"GetState"_s, {}, [this](const QDBusMessage& reply) { stateAnswered(reply); },
      patience_.stateLimit);
}

void AvahiDaemon::stateAnswered(const QDBusMessage& reply) {
  if (reply.type() == QDBusMessage::ErrorMessage) return doesNotAnswer(reply);
  isSilenceLogged_ = false;
  setState(reply.arguments().value(0).toInt());
}

/// A daemon that hangs for a while goes on in the state it was in, so no StateChanged tells that it is there again.
void AvahiDaemon::doesNotAnswer(const QDBusMessage& error) {
  setState(serverGone);
  if (!std::exchange(isSilenceLogged_, true))
    logger.error("the Avahi daemon does not answer, asking again: {}", avahi::errorText(error).toStdString());
  nextQuestion_.start(patience_.pause);
}

/// To all objects of the daemon, because one that is new may speak before we know its path.
void AvahiDaemon::listen(bool begin) {
  if (owner_.isEmpty() || !systemBus_.isConnected()) return;
  auto bus = systemBus_.connection();
  const auto* slot = SLOT(signalled(QDBusMessage));
  for (const auto& [interface, signal] : signalsOfInterest)
    begin ? bus.connect(owner_, QString(), interface, signal, this, slot)
          : bus.disconnect(owner_, QString(), interface, signal, this, slot);
}

void AvahiDaemon::signalled(const QDBusMessage& message) {
  if (message.service() != owner_) return;
  if (message.interface() == serverInterface) return setState(message.arguments().value(0).toInt());
  if (objects_.contains(message.path())) return deliver(message);
  if (objectsInTheMaking_ > 0) earlySignals_[message.path()].push_back(message);
}

void AvahiDaemon::setState(int state) {
  const auto isRunning = state == serverRunning;
  if (isRunning == isRunning_) return;
  isRunning_ = isRunning;
  isRunning ? started.emit() : ended.emit();
}

void AvahiDaemon::make(const std::shared_ptr<AvahiObject*>& object, const QString& kind,
                       const QVariantList& arguments) {
  ++objectsInTheMaking_;
  call(
      serverPath, serverInterface, kind + u"New"_s, arguments,
      [this, weak = std::weak_ptr(object), interface = (*object)->interface_](const QDBusMessage& reply) {
        made(weak, interface, reply);
      },
      patience_.callLimit);
}

// What an object tells its owner can be the end of the object, so the handlers run as copies.

void AvahiDaemon::made(const std::weak_ptr<AvahiObject*>& weak, const QString& interface, const QDBusMessage& reply) {
  const auto path = reply.arguments().value(0).value<QDBusObjectPath>().path();
  const auto early = std::exchange(earlySignals_[path], {});
  if (--objectsInTheMaking_ == 0) earlySignals_.clear();
  const auto object = weak.lock();
  if (!object && !path.isEmpty()) free(path, interface);
  if (!object) return;
  const auto events = (*object)->events_;
  if (path.isEmpty()) return events.failed(avahi::errorText(reply));
  (*object)->path_ = path;
  objects_[path] = weak;
  if (events.made) events.made();
  for (const auto& signal : early) deliver(signal);
}

void AvahiDaemon::deliver(const QDBusMessage& signal) {
  const auto found = objects_.find(signal.path());
  const auto object = found == objects_.end() ? nullptr : found->second.lock();
  if (!object) return;
  const auto handle = (*object)->events_.signal;
  handle(signal);
}

void AvahiDaemon::free(const QString& path, const QString& interface) {
  objects_.erase(path);
  call(
      path, interface, u"Free"_s, {}, [](const QDBusMessage&) {}, patience_.callLimit);
}

void AvahiDaemon::call(const QString& path, const QString& interface, const QString& method,
                       const QVariantList& arguments, Answer answer, std::chrono::milliseconds limit) {
  if (owner_.isEmpty() || !systemBus_.isConnected()) return;
  auto message = QDBusMessage::createMethodCall(owner_, path, interface, method);
  message.setArguments(arguments);
  const auto pending = systemBus_.connection().asyncCall(message, static_cast<int>(limit.count()));
  auto* watcher = new QDBusPendingCallWatcher(pending, this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this,
          [this, watcher, owner = owner_, answer = std::move(answer)] {
            watcher->deleteLater();
            if (owner != owner_) return;
            const auto reply = watcher->reply();
            if (reply.errorName() == noReply) doesNotAnswer(reply);
            answer(reply);
          });
}

}  // namespace zolvex
