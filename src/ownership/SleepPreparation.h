#pragma once

#include "core/MainQueue.h"
#include "ownership/DeviceManager.h"
#include "ownership/SessionEvents.h"
#include "ownership/SleepInhibitor.h"
#include "peer/NetworkDeviceStore.h"

namespace zolvex {

/// Holds the computer awake until the devices are released and the peer knows, so that it can really take them:
/// from the announcement of sleep until the flow that it started has ended and its announcement is out. Without such
/// a flow the sleep is allowed at once. One instance, made after the manager, which must hear of the sleep first. Main
/// thread.
class SleepPreparation {
 public:
  static constexpr Seconds checkInterval{0.1};
  static constexpr int checkLimit = 45;  ///< 4.5 s in all; the system itself waits no longer than 5 s.

  struct Collaborators {
    MainQueue& mainQueue;
    const DeviceManager& manager;
    const NetworkDeviceStore& networkStore;
    SessionEvents& sessionEvents;
    SleepInhibitor& inhibitor;
  };

  explicit SleepPreparation(Collaborators collaborators);

 private:
  void prepare();
  void holdWhileBusy(int checksLeft);

  Collaborators use_;
  WorkItem check_;
  Subscription systemSleepObserver_;
  Subscription systemWakeObserver_;
};

}  // namespace zolvex
