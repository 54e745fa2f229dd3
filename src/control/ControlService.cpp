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

// Of org.freedesktop.DBus.RequestName.
constexpr uint doNotQueue = 4;
constexpr uint isPrimaryOwner = 1;

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
  requestName();
}

void ControlService::requestName() {
  auto call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                             u"org.freedesktop.DBus"_s, u"RequestName"_s);
  call << QString(serviceName) << doNotQueue;
  auto* watcher = new QDBusPendingCallWatcher(sessionBus_.connection().asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<uint> reply = *watcher;
    if (reply.isError())
      logger.error("cannot take the bus name: {}", reply.error().message().toStdString());
    else if (reply.value() != isPrimaryOwner)
      logger.error("another program has the bus name; zolvexctl cannot reach this one");
  });
}

}  // namespace zolvex::control
