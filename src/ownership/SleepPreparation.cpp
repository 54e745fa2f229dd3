#include "ownership/SleepPreparation.h"

#include "core/Log.h"

namespace zolvex {

namespace {

constexpr Logger logger("SleepPreparation");

}  // namespace

SleepPreparation::SleepPreparation(Collaborators collaborators)
    : use_(collaborators),
      systemSleepObserver_(use_.sessionEvents.observe(SessionEvent::systemWillSleep, [this] { prepare(); })),
      systemWakeObserver_(use_.sessionEvents.observe(SessionEvent::systemDidWake, [this] { check_.cancel(); })) {}

void SleepPreparation::prepare() {
  if (use_.manager.isSwitching())
    holdWhileBusy(checkLimit);
  else
    use_.inhibitor.allowSleep();
}

void SleepPreparation::holdWhileBusy(int checksLeft) {
  const bool isBusy = use_.manager.isSwitching() || use_.networkStore.outboundCommandInFlight();
  if (isBusy && checksLeft > 0) {
    check_ = use_.mainQueue.after(checkInterval, [this, checksLeft] { holdWhileBusy(checksLeft - 1); });
    return;
  }
  if (isBusy) logger.error("the computer goes to sleep before the devices are released");
  use_.inhibitor.allowSleep();
}

}  // namespace zolvex
