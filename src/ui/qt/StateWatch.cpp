#include "ui/qt/StateWatch.h"

#include <utility>

namespace zolvex {

StateWatch::StateWatch(const UserInterfaceObjects& objects, std::function<void()> changed)
    : mainQueue_(objects.mainQueue), changed_(std::move(changed)) {
  const auto anything = [this](const auto&) { touch(); };
  subscriptions_.push_back(objects.deviceManager.observeIsSwitching(anything));
  subscriptions_.push_back(objects.deviceManager.observeLastResult(anything));
  subscriptions_.push_back(objects.deviceManager.observeOwnershipState(anything));
  subscriptions_.push_back(objects.bluetoothStore.observePeripherals(anything));
  subscriptions_.push_back(objects.networkStore.observeNetworkDevices(anything));
  subscriptions_.push_back(objects.networkStore.observeDiscoveredNetworkDevices(anything));
  subscriptions_.push_back(objects.observeHotKeyState(anything));
  subscriptions_.push_back(objects.defaults.changed.observe([this] { touch(); }));
}

void StateWatch::touch() {
  if (std::exchange(isTouched_, true)) return;
  mainQueue_.async(lifetime_.guard([this] {
    isTouched_ = false;
    changed_();
  }));
}

}  // namespace zolvex
