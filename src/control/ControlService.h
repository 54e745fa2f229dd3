#pragma once

#include "control/ControlObject.h"
#include "core/Published.h"

#include <QObject>

#include <memory>

namespace zolvex {

class BusLink;

namespace control {

/// The application's presence on the session bus: whenever the bus comes, it puts the control object there and takes
/// the service name. Without a bus it waits. Owned by the application; main thread.
class ControlService final : public QObject {
 public:
  /// `decisions` repeats the log lines that are told on the bus. It, the link and everything controlled outlive this.
  ControlService(const Controlled& controlled, LogFeed& decisions, BusLink& sessionBus);

 private:
  void busArrived();
  void requestName();

  BusLink& sessionBus_;
  ControlObject object_;
  Subscription arrival_;
  Subscription loss_;
};

}  // namespace control
}  // namespace zolvex
