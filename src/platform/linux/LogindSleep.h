#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/Published.h"
#include "ownership/SleepInhibitor.h"
#include "platform/linux/BusProperty.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/SessionAspect.h"

#include <QDBusMessage>

#include <string>

namespace zolvex {

class BusService;

/// Sleep and wake as logind announces them, and the delay inhibitor that makes it wait for us. The inhibitor is taken
/// when logind is there and the computer awake, let go of for each sleep, and taken again on wake. A logind that
/// restarts is asked again at once, one that refuses or does not answer every minute.
/// Owned by LinuxSession. Main thread.
class LogindSleep final : public SleepInhibitor {
 public:
  static constexpr Seconds retryInterval{60.0};

  /// `logind` and `asleep` must outlive this.
  LogindSleep(MainQueue& mainQueue, BusService& logind, SessionAspect& asleep);

  void allowSleep() override;

  bool isHeld() const { return inhibitor_.isOpen(); }

 private:
  void found(bool isGoingToSleep);
  void announced(bool isGoingToSleep);
  void lost();
  void take();
  void answered(const QDBusMessage& reply);
  void refused(const std::string& error);

  MainQueue& mainQueue_;
  BusService& logind_;
  SessionAspect& asleep_;
  const SessionAspect::Source source_;
  FileDescriptor inhibitor_;  // outlives a restart of logind, which takes it over then
  bool isGoingToSleep_ = false;
  bool isRefusalLogged_ = false;
  WorkItem retry_;
  Subscription announcements_;
  BusProperty preparingForSleep_;
  Lifetime lifetime_;
};

}  // namespace zolvex
