#pragma once

#include "core/LaunchAtLogin.h"
#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/UserDefaults.h"
#include "ui/NotificationCenter.h"
#include "ui/UninstallSystem.h"

namespace zolvex {

/// Removes Zolvex from this computer: launch at login, every setting and what else is in the home directory,
/// permissions, the application itself; then it quits. No failure of a step stops the later ones; each is logged.
/// Where the application was installed by somebody else, a package manager for example, it stays, and a notification
/// tells how to remove it.
/// Owned by the application, after everything that it uses. Main thread.
class Uninstaller {
 public:
  static constexpr Seconds recycleLimit{30.0};
  static constexpr Seconds tellLimit{2.0};

  struct Collaborators {
    MainQueue& mainQueue;
    LaunchAtLogin& launchAtLogin;
    UserDefaults& defaults;
    UninstallSystem& system;
    NotificationCenter& notifications;
  };

  explicit Uninstaller(const Collaborators& collaborators) : use_(collaborators) {}
  Uninstaller(const Uninstaller&) = delete;

  /// Begins, once the user has confirmed it. It ends with the process; a second call does nothing.
  void uninstall();

 private:
  void removeEverything(const std::string& identifier);
  void recycle();
  void recycled(const UninstallSystem::Recycled& result);
  void tell(const std::string& leftToDo);
  void terminate();

  const Collaborators use_;
  bool isRunning_ = false;
  bool isRecycled_ = false;
  bool isTerminating_ = false;
  WorkItem limit_;
  Lifetime lifetime_;
};

}  // namespace zolvex
