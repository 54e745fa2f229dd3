#pragma once

#include "ui/StatusItemPresentation.h"
#include "ui/UserInterface.h"
#include "ui/qt/Popover.h"
#include "ui/qt/StatusMenu.h"
#include "ui/qt/TrayHost.h"

#include <QObject>
#include <QSystemTrayIcon>

#include <memory>
#include <optional>

namespace zolvex {

/// The icon in the desktop's panel. It follows the state by asking every three seconds, and only so. A left click
/// shows the popover and never closes it; a right click closes it when it is shown. Where the panel delivers only a
/// menu, it gets one. While there is no panel there is no icon. Main thread.
class StatusItem final : public QObject {
 public:
  static constexpr Seconds pollInterval{3.0};

  StatusItem(const UserInterfaceObjects& objects, Popover& popover);
  ~StatusItem() override;

  void start();

  /// Looks for panels on this bus, too, from now on; on none when it is not connected.
  void follow(const QDBusConnection& sessionBus) { host_.follow(sessionBus); }

  void clicked(QSystemTrayIcon::ActivationReason reason);

  /// What the icon shows, or would show if there were a panel.
  const StatusItemPresentation& shown() const { return shown_; }

  /// Where a popover that is opened now points at: the icon, or where that probably is; none without a panel.
  std::optional<QRect> anchor() const;

 private:
  void poll();
  void update();
  void hostChanged();
  void provideMenu();

  UserInterfaceObjects use_;
  Popover& popover_;
  TrayHost host_;
  StatusItemPresentation shown_ = presentStatusItem(false, false);
  std::unique_ptr<StatusMenu> menu_;  // outlives the icon that shows it
  std::unique_ptr<QSystemTrayIcon> icon_;
  std::optional<QPoint> lastClick_;  // on this icon
  WorkItem nextPoll_;
};

}  // namespace zolvex
