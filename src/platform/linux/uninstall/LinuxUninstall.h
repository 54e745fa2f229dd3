#pragma once

#include "platform/linux/uninstall/HomeTraces.h"
#include "platform/linux/uninstall/Installation.h"
#include "platform/linux/uninstall/PermissionReset.h"
#include "ui/UninstallSystem.h"

#include <functional>

namespace zolvex {

/// Uninstalling on a Linux desktop: its files in the home directory, the portals' permission store, and the AppImage or
/// the installation of the user, which go to the trash of the desktop.
/// Owned by the application. Main thread; blocks for as long as the disk takes.
class LinuxUninstall final : public UninstallSystem {
 public:
  /// The link must outlive this. `quit` ends the process in an orderly way.
  LinuxUninstall(Installation installation, HomeTraces traces, BusLink& sessionBus, std::function<void()> quit);

  /// What the user will have to do afterwards; empty when nothing.
  const std::string& leftToDo() const { return installation_.leftToDo; }

  std::optional<std::string> bundleIdentifier() const override;
  Failure removeState(const std::string& identifier) override;
  void resetPermissions(const std::string& identifier) override;
  void recycle(std::function<void(const Recycled&)> done) override;
  void terminate() override { quit_(); }

 private:
  Failure moveToTrash() const;

  const Installation installation_;
  const HomeTraces traces_;
  PermissionReset permissions_;
  const std::function<void()> quit_;
};

}  // namespace zolvex
