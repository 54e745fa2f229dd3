#pragma once

#include "ui/UserInterface.h"

#include <QMenu>

#include <array>
#include <functional>

namespace zolvex {

/// The status item's menu, where the panel shows one: it opens the popover, does the popover's main action, or quits.
/// The panel shows it from another process, and a click may come when the state has changed. So there is an entry for
/// each main action, one of them is visible, and each does what it says. Main thread.
class StatusMenu {
 public:
  StatusMenu(const UserInterfaceObjects& objects, const std::function<void()>& open);
  StatusMenu(const StatusMenu&) = delete;

  /// Offers what is to be done now.
  void update();

  QMenu& menu() { return menu_; }

 private:
  QAction* addMainAction(bool anyConnected);

  UserInterfaceObjects use_;
  QMenu menu_;
  std::array<QAction*, 2> mainActions_{};  // while no device is connected, and while one is
};

}  // namespace zolvex
