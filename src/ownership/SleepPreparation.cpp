#include "ownership/SleepPreparation.h"

#include "core/Log.h"

#include <algorithm>

namespace zolvex {

namespace {

constexpr Logger logger("SleepPreparation");

}  // namespace

SleepPreparation::SleepPreparation(Collaborators collaborators)
    : use_(collaborators),
      systemSleepObserver_(use_.sessionEvents.observe(SessionEvent::systemWillSleep, [this] { prepare(); })),
      systemWakeObserver_(use_.sessionEvents.observe(SessionEvent::systemDidWake, [this] { check_.cancel(); })) {}

void SleepPreparation::prepare() {
  check_.cancel();
  if (isReleasing())
    holdForRelease(checkLimit);
  else
    use_.inhibitor.allowSleep();
}

void SleepPreparation::holdForRelease(int checksLeft) {
  if (!isReleasing()) return holdForAnnouncement(std::min(checksLeft, announcementCheckLimit));
  if (checksLeft > 0) {
    check_ = use_.mainQueue.after(checkInterval, [this, checksLeft] { holdForRelease(checksLeft - 1); });
    return;
  }
  logger.error("the computer goes to sleep before the devices are released");
  use_.inhibitor.allowSleep();
}

void SleepPreparation::holdForAnnouncement(int checksLeft) {
  if (isAnnouncing() && checksLeft > 0)
    check_ = use_.mainQueue.after(checkInterval, [this, checksLeft] { holdForAnnouncement(checksLeft - 1); });
  else
    use_.inhibitor.allowSleep();
}

bool SleepPreparation::isReleasing() const {
  return use_.manager.currentOperation() == SwitchOperation::releasing;
}

bool SleepPreparation::isAnnouncing() const {
  return use_.networkStore.outboundCommand() == DeviceCommand::released;
}

}  // namespace zolvex
