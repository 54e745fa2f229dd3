#pragma once

#include "core/MainQueue.h"
#include "ownership/DeviceManager.h"
#include "ownership/SessionEvents.h"
#include "ownership/SleepInhibitor.h"
#include "peer/NetworkDeviceStore.h"

namespace zolvex {

/// Holds the computer awake until the devices are released and the peer knows, so that it can really take them: from
/// the announcement of sleep until the release that it started, or that ran already, has ended, and a while longer
/// while the peer is told. Nothing else holds it, no connect and no other command.
/// One instance, made after the manager, which must hear of the sleep first. Main thread.
class SleepPreparation {
 public:
  static constexpr Seconds checkInterval{0.1};
  static constexpr int checkLimit = 45;              ///< 4.5 s in all; the system itself waits no longer than 5 s.
  static constexpr int announcementCheckLimit = 35;  ///< 3.5 s of these at most; the network needs 3 s to miss a peer.

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
  void holdForRelease(int checksLeft);
  void holdForAnnouncement(int checksLeft);
  bool isReleasing() const;
  bool isAnnouncing() const;

  Collaborators use_;
  WorkItem check_;
  Subscription systemSleepObserver_;
  Subscription systemWakeObserver_;
};

}  // namespace zolvex
