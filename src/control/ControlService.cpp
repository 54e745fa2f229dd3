#include "control/ControlService.h"

#include "control/ControlNames.h"
#include "core/Log.h"
#include "platform/linux/BusLink.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::control {

namespace {

constexpr Logger logger("Control");

const auto busService = u"org.freedesktop.DBus"_s;
const auto busPath = u"/org/freedesktop/DBus"_s;

// Of org.freedesktop.DBus.RequestName.
constexpr uint doNotQueue = 4;
constexpr uint isPrimaryOwner = 1;
constexpr uint isOwnerAlready = 4;

}  // namespace

ControlService::ControlService(const Controlled& controlled, LogFeed& decisions, BusLink& sessionBus)
    : sessionBus_(sessionBus),
      object_(controlled, decisions),
      arrival_(sessionBus.arrived.observe([this] { busArrived(); })),
      loss_(sessionBus.lost.observe([this] { object_.setConnection(std::nullopt); })) {
  if (sessionBus_.isConnected()) busArrived();
}

void ControlService::busArrived() {
  auto connection = sessionBus_.connection();
  connection.registerVirtualObject(objectPath, &object_);
  object_.setConnection(connection);
  // From any sender, because naming one would make a blocking call; the slot looks at who it was.
  connection.connect(QString(), busPath, busService, u"NameOwnerChanged"_s, {QString(serviceName)}, QString(), this,
                     SLOT(ownerChanged(QDBusMessage)));
  requestName();
}

void ControlService::ownerChanged(const QDBusMessage& message) {
  const auto arguments = message.arguments();
  if (message.service() != busService || arguments.size() != 3 || arguments.at(0) != QString(serviceName)) return;
  const auto isFree = arguments.at(2).toString().isEmpty();
  if (isFree && sessionBus_.isConnected()) requestName();
}

void ControlService::requestName() {
  auto call = QDBusMessage::createMethodCall(busService, busPath, busService, u"RequestName"_s);
  call << QString(serviceName) << doNotQueue;
  auto* watcher = new QDBusPendingCallWatcher(sessionBus_.connection().asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<uint> reply = *watcher;
    if (reply.isError())
      logger.error("cannot take the bus name: {}", reply.error().message().toStdString());
    else if (reply.value() != isPrimaryOwner && reply.value() != isOwnerAlready)
      logger.error("another program has the bus name; zolvexctl cannot reach this one");
  });
}

}  // namespace zolvex::control
