#pragma once

#include "ui/UserInterface.h"
#include "ui/qt/Popover.h"
#include "ui/qt/PopoverModel.h"
#include "ui/qt/StatusItem.h"

namespace zolvex {

/// The windows, put together: the popover's model, the popover, the status item. Main thread.
class QtUserInterface final : public UserInterface {
 public:
  explicit QtUserInterface(const UserInterfaceObjects& objects);

  bool show() override;

 private:
  void openAtFirstStart();

  UserInterfaceObjects use_;
  PopoverModel model_;
  Popover popover_;
  StatusItem statusItem_;
  WorkItem firstOpening_;
  WorkItem fonts_;
};

}  // namespace zolvex
