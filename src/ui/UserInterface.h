#pragma once

#include "bluetooth/BluetoothPeripheralStore.h"
#include "bluetooth/PairedDevicePayload.h"
#include "core/LaunchAtLogin.h"
#include "core/MainQueue.h"
#include "core/Published.h"
#include "core/UserDefaults.h"
#include "ownership/DeviceManager.h"
#include "peer/NetworkDeviceStore.h"
#include "ui/HotKeyState.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zolvex {

/// The application's objects and services that the windows show and operate. All outlive the windows.
struct UserInterfaceObjects {
  using PairedDevices = std::vector<PairedDevicePayload>;

  MainQueue& mainQueue;
  UserDefaults& defaults;
  BluetoothPeripheralStore& bluetoothStore;
  DeviceManager& deviceManager;
  NetworkDeviceStore& networkStore;
  LaunchAtLogin& launchAtLogin;

  /// Lists the paired devices in the background and answers on the main thread; an empty list when that failed.
  std::function<void(std::function<void(const PairedDevices&)>)> listPairedDevices;

  /// How it stands with the hot key, and who wants to be told just before that changes: the desktop may answer late.
  std::function<HotKeyState()> hotKeyState;
  std::function<Subscription(std::function<void(const HotKeyState&)>)> observeHotKeyState;

  /// Removes all that Zolvex has put on this computer, then quits.
  std::function<void()> uninstall;
  std::function<void()> quit;

  /// Where the help page is; none when there is none.
  std::function<std::optional<std::string>()> helpAddress;
};

/// The windows of the application: the status item and the popover. Owned by the application; main thread.
class UserInterface {
 public:
  virtual ~UserInterface() = default;

  /// Shows the popover and gives it the keyboard. False when there can be no windows, which the log explains.
  virtual bool show() = 0;

  /// The session bus is there; the toolkit knows the application's connection to it by this name. Also told of each
  /// bus that follows one that is lost.
  virtual void sessionBusArrived(const std::string& connectionName) = 0;
  virtual void sessionBusLost() = 0;
};

}  // namespace zolvex
