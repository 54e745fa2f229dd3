#pragma once

#include "core/MainQueue.h"
#include "platform/linux/BackgroundOpening.h"
#include "platform/linux/SessionAspect.h"

#include <memory>
#include <string>

class QSocketNotifier;

namespace zolvex {

class X11Connection;

/// Whether an X server has blanked its displays or switched them off. It connects in a thread of its own, follows the
/// server's screen saver events, which come with DPMS too, or asks every few seconds where there are none; a server
/// that is not there, has gone or hangs is waited for. The main thread never waits for the server.
/// Owned by LinuxSession. Main thread.
class X11DisplayPower {
 public:
  static constexpr Seconds retryInterval{30.0};
  static constexpr Seconds pollInterval{5.0};
  static constexpr Seconds answerLimit{5.0};

  /// `displayOff` must outlive this.
  X11DisplayPower(MainQueue& mainQueue, SessionAspect& displayOff);
  ~X11DisplayPower();
  X11DisplayPower(const X11DisplayPower&) = delete;

  /// Begins to connect to `display`, as in DISPLAY; once.
  void start(std::string display);

  /// Lights the displays, when the server is there and answers.
  void wakeDisplay();

  /// Whether a server is there and has said how its displays are.
  bool isFollowing() const { return connection_ != nullptr && wasFound_; }

 private:
  void attempt();
  void attemptEnded(std::unique_ptr<X11Connection> connection);
  void missing(const char* what);
  void ask();
  void readable();
  void answered(bool isOff);
  void silent();
  void drop();

  MainQueue& mainQueue_;
  SessionAspect& displayOff_;
  const SessionAspect::Source source_;
  std::string display_;
  BackgroundOpening<X11Connection> opening_;
  std::unique_ptr<X11Connection> connection_;
  std::unique_ptr<QSocketNotifier> notifier_;
  bool isAsking_ = false;
  bool isStale_ = false;       // something has changed since the last question
  bool isWakeWanted_ = false;  // once the answer has come
  bool wasFound_ = false;      // since it connected
  bool isAbsenceLogged_ = false;
  bool isSilenceLogged_ = false;
  WorkItem next_;  // the next attempt or question
  WorkItem limit_;
};

}  // namespace zolvex
