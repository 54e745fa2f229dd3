#include "lab/bluez/BluezHost.h"

#include <QTimer>

namespace zolvex::lab {

BluezTiming::Duration BluezHost::latency(const QString& address) const {
  const auto& timing = identity.timing;
  return suffers(FaultKind::slow, address) ? timing.latency + timing.slowness : timing.latency;
}

bool BluezHost::diesOf(const QString& address) {
  if (!suffers(FaultKind::daemonRestarts, address)) return false;
  radio.spend(FaultKind::daemonRestarts, identity.computer, address);
  die();
  return true;
}

// The timer belongs to the context, so that what the step holds goes with the context and not later.
void BluezHost::after(BluezTiming::Duration delay, QObject* context, std::function<void()> step) {
  auto* timer = new QTimer(context);
  timer->setSingleShot(true);
  timer->setTimerType(Qt::PreciseTimer);
  QObject::connect(timer, &QTimer::timeout, context, [timer, step = std::move(step)] {
    timer->deleteLater();
    step();
  });
  timer->start(delay);
}

}  // namespace zolvex::lab
