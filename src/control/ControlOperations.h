#pragma once

#include "control/ControlError.h"
#include "control/ControlSettings.h"
#include "control/DeviceSelection.h"
#include "control/PairedDeviceScan.h"
#include "core/Lifetime.h"
#include "ownership/DeviceManager.h"
#include "peer/NetworkDeviceStore.h"

#include <functional>
#include <string>
#include <vector>

namespace zolvex::control {

/// The application's objects that the control interface shows and operates. All outlive it.
struct Controlled {
  MainQueue& mainQueue;
  UserDefaults& defaults;
  BluetoothPeripheralStore& bluetoothStore;
  DeviceManager& deviceManager;
  NetworkDeviceStore& networkStore;
  PairedDeviceScan& pairedDeviceScan;  ///< The only one, so that all who ask at a time share a listing.
  LaunchAtLogin& launchAtLogin;
  std::function<bool()> showWindows = {};  ///< Whether there are windows to show; empty: none.
};

/// What the popover and the settings page can do, for callers that must be told why something was refused. It decides
/// nothing about devices. Main thread.
class ControlOperations {
 public:
  using Done = std::function<void(const Refusal&)>;

  explicit ControlOperations(const Controlled& controlled);

  Refusal connectToThisMac(bool connectMissing);
  Refusal forceConnect(bool connectMissing);
  Refusal release();

  /// Whether there was something to cancel.
  bool cancel();
  void refresh();

  /// Brings the popover up.
  Refusal show();

  /// Not answered any more once this is gone.
  void pairedDevices(PairedDeviceScan::Answer answer);

  /// These change what is saved. A change that is in effect but cannot be saved is an error, too, as its text says.
  void manageDevices(std::vector<std::string> addresses, Done done);
  Refusal registerPeer(const std::string& id);
  Refusal removePeer();

  ControlSettings& settings() { return settings_; }

 private:
  Refusal refusalWhileSwitching() const;
  Refusal refusalOfSetup(bool anySelected) const;
  Refusal savePeerAgain();

  Controlled use_;
  ControlSettings settings_;
  DeviceSelection selection_;
  Lifetime lifetime_;
};

}  // namespace zolvex::control
