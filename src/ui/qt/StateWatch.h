#pragma once

#include "core/Lifetime.h"
#include "core/Published.h"
#include "ui/UserInterface.h"

#include <functional>
#include <vector>

namespace zolvex {

/// Tells that something which the windows show has changed: once for all changes of a turn, in a later turn, when
/// they have taken effect. Main thread.
class StateWatch {
 public:
  StateWatch(const UserInterfaceObjects& objects, std::function<void()> changed);

 private:
  void touch();

  MainQueue& mainQueue_;
  std::function<void()> changed_;
  bool isTouched_ = false;
  std::vector<Subscription> subscriptions_;
  Lifetime lifetime_;
};

}  // namespace zolvex
