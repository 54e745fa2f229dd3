#pragma once

#include "core/LaunchAtLogin.h"
#include "core/Published.h"
#include "platform/linux/AutostartEntry.h"
#include "platform/linux/UserUnit.h"

#include <optional>
#include <string>
#include <vector>

namespace zolvex {

class BusLink;

/// Launch at login through an enabled unit of the user's systemd, which restarts the program on failure, or through an
/// autostart entry where the user has no systemd, or one that cannot start a program at this place. The unit starts
/// with graphical-session.target; for desktops that do not reach it an autostart entry starts the unit. It only writes
/// files, so that nothing can hang, and lets systemd know without waiting. What the user switched off elsewhere
/// (masked, disabled, or in the desktop's list of autostart programs) is not enabled. When it is switched off, the unit
/// that it wrote stays until the end of the program, which may be running as that service.
/// Owned by the application. Main thread.
class LinuxLaunchAtLogin final : public LaunchAtLogin {
 public:
  struct Places {
    std::string configHome;
    std::string runtimeDirectory;                    ///< Empty when the user has none.
    std::vector<std::string> sharedUnitDirectories;  ///< Units of all users, in the order in which they count.

    /// Those of this process's environment.
    static Places standard();
  };

  /// `program` is what is to be started; none when it cannot be known. The link outlives this.
  LinuxLaunchAtLogin(const Places& places, const std::optional<std::string>& program, BusLink& sessionBus);
  ~LinuxLaunchAtLogin() override;

  Status status() const override;
  Failure enable() override;
  Failure disable() override;

  /// Once at the start: what starts a program that is no longer there, because it was moved, starts this one from now
  /// on. What starts another one that is there stays. Logs why launch at login is off although it was set up.
  void followProgram();

 private:
  bool hasUserManager() const;
  bool isSessionTargetReached() const;
  bool hasForeignEntry() const;
  Failure enableUnit();
  Failure provideEntryForUnit() const;
  void wantReload();
  void askForReload();

  const std::string runtimeDirectory_;
  const bool isProgramKnown_;
  const bool isProgramForUnit_;
  const UserUnit unit_;
  const AutostartEntry entry_;
  BusLink& sessionBus_;
  bool isReloadWanted_ = false;
  bool isSwitchedOff_ = false;  // by disable(), since when nothing has enabled it
  Subscription arrival_;
};

}  // namespace zolvex
