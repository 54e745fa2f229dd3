#pragma once

#include "bluetooth/BluetoothPeripheralStore.h"
#include "bluetooth/BluetoothWorkerClient.h"
#include "control/ControlService.h"
#include "control/PairedDeviceScan.h"
#include "core/LogFeed.h"
#include "core/ThreadQueue.h"
#include "ownership/DeviceManager.h"
#include "ownership/SleepPreparation.h"
#include "peer/NetworkDeviceStore.h"
#include "peer/bonjour/BonjourTransport.h"
#include "peer/bonjour/NetworkThread.h"
#include "platform/linux/AvahiBrowser.h"
#include "platform/linux/AvahiDaemon.h"
#include "platform/linux/AvahiPublisher.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/DesktopNotificationCenter.h"
#include "platform/linux/FileUserDefaults.h"
#include "platform/linux/HostName1.h"
#include "platform/linux/LinuxLaunchAtLogin.h"
#include "platform/linux/LinuxSession.h"
#include "platform/linux/PosixProcessLauncher.h"
#include "platform/linux/QtMainQueue.h"
#include "platform/linux/hotkey/DesktopHotKeys.h"
#include "platform/linux/uninstall/LinuxUninstall.h"
#include "ui/GlobalHotKey.h"
#include "ui/HelpPage.h"
#include "ui/Uninstaller.h"
#include "ui/UserInterfacePlugin.h"
#include "ui/ZolvexNotifier.h"

#include <memory>

namespace zolvex {

/// Every long-lived object of the application, made once and in this order, each given what it needs. Construction
/// registers the default settings and applies the default of launch at login before anything reads a setting; start()
/// brings up the peer link, the buses, the watch over the session, the windows and the hot key, none of which need
/// exist. Destruction gives up the hot key, ends running workers and drops waiting work; the devices are not released.
/// Main thread.
class SharedObjects {
 public:
  /// `windows` may be null: no display. It outlives this.
  explicit SharedObjects(UserInterfacePlugin* windows);
  ~SharedObjects();
  SharedObjects(const SharedObjects&) = delete;

  void start();

 private:
  control::Controlled controlled();
  UserInterfaceObjects shown();
  bool showWindows();
  void tellWindowsOfBus();

  QtMainQueue mainQueue_;
  LogFeed decisions_;
  FileUserDefaults defaults_;

  BusLink systemBus_;
  BusLink sessionBus_;
  LinuxLaunchAtLogin launchAtLogin_;
  HostName1 hostName_;
  DesktopNotificationCenter notificationCenter_;
  LinuxSession session_;
  std::unique_ptr<HotKeys> hotKeys_;

  PosixProcessLauncher launcher_;
  BluetoothWorkerClient workerClient_;
  ThreadQueue bluetoothQueue_;
  ThreadQueue scanQueue_;

  NetworkThread network_;
  AvahiDaemon avahi_;
  AvahiPublisher publisher_;
  AvahiBrowser browser_;
  BonjourTransport bonjour_;

  BluetoothPeripheralStore bluetoothStore_;
  NetworkDeviceStore networkStore_;
  ZolvexNotifier notifier_;
  DeviceManager deviceManager_;
  SleepPreparation sleepPreparation_;
  GlobalHotKey hotKey_;
  LinuxUninstall uninstallSystem_;
  Uninstaller uninstaller_;
  const HelpPage helpPage_;
  control::PairedDeviceScan pairedDeviceScan_;
  control::ControlService control_;
  UserInterfacePlugin* const windows_;
  std::unique_ptr<UserInterface> userInterface_;
  Subscription popoverRequest_;
  Subscription busArrival_;
  Subscription busLoss_;
};

}  // namespace zolvex
