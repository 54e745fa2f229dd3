#pragma once

#include "control/ControlObject.h"
#include "core/Published.h"

#include <QDBusMessage>
#include <QObject>

namespace zolvex {

class BusLink;

namespace control {

/// The application's presence on the session bus: whenever the bus comes, it puts the control object there and takes
/// the service name. Without a bus it waits; so it does while another program has the name. Owned by the application;
/// main thread.
class ControlService final : public QObject {
  Q_OBJECT

 public:
  /// `decisions` repeats the log lines that are told on the bus. It, the link and everything controlled outlive this.
  ControlService(const Controlled& controlled, LogFeed& decisions, BusLink& sessionBus);

 private:
  void busArrived();
  void requestName();

 private Q_SLOTS:
  void ownerChanged(const QDBusMessage& message);

 private:
  BusLink& sessionBus_;
  ControlObject object_;
  Subscription arrival_;
  Subscription loss_;
};

}  // namespace control
}  // namespace zolvex
