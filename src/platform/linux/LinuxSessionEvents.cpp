#include "platform/linux/LinuxSessionEvents.h"

#include "core/Log.h"

#include <string_view>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("SessionEvents");

std::string_view textOf(SessionEvent event) {
  switch (event) {
    case SessionEvent::systemWillSleep:
      return "System will sleep";
    case SessionEvent::systemDidWake:
      return "System woke up";
    case SessionEvent::displayDidSleep:
      return "Display went off";
    case SessionEvent::displayDidWake:
      return "Display came on";
    case SessionEvent::screenLocked:
      return "Screen locked";
    case SessionEvent::screenUnlocked:
      return "Screen unlocked";
  }
  return {};
}

}  // namespace

LinuxSessionEvents::LinuxSessionEvents(MainQueue& mainQueue)
    : systemAsleep_(mainQueue, teller(SessionEvent::systemWillSleep, SessionEvent::systemDidWake)),
      displayOff_(mainQueue, teller(SessionEvent::displayDidSleep, SessionEvent::displayDidWake)),
      screenLocked_(mainQueue, teller(SessionEvent::screenLocked, SessionEvent::screenUnlocked)) {}

Subscription LinuxSessionEvents::observe(SessionEvent event, std::function<void()> observer) {
  return observers_[static_cast<std::size_t>(event)].observe(std::move(observer));
}

SessionAspect::Tell LinuxSessionEvents::teller(SessionEvent beginning, SessionEvent end) {
  return [this, beginning, end](bool holds, const std::string& name) { happened(holds ? beginning : end, name); };
}

void LinuxSessionEvents::happened(SessionEvent event, const std::string& teller) {
  logger.info("{} ({})", textOf(event), teller);
  observers_[static_cast<std::size_t>(event)].emit();
}

}  // namespace zolvex
