#pragma once

#include "ui/UserInterface.h"
#include "ui/qt/Popover.h"
#include "ui/qt/PopoverModel.h"
#include "ui/qt/StatusItem.h"

#include <QDBusConnection>

namespace zolvex {

/// The windows, put together: the popover's model, the popover, the status item. Main thread.
class QtUserInterface final : public UserInterface {
 public:
  explicit QtUserInterface(const UserInterfaceObjects& objects);

  bool show() override;
  void sessionBusArrived(const std::string& connectionName) override;
  void sessionBusLost() override;

 private:
  void follow(const QDBusConnection& sessionBus);
  void openAtFirstStart();

  UserInterfaceObjects use_;
  QDBusConnection sessionBus_;  // the one that is followed; not connected when there is none
  PopoverModel model_;
  Popover popover_;
  StatusItem statusItem_;
  WorkItem firstOpening_;
  WorkItem fonts_;
};

}  // namespace zolvex
