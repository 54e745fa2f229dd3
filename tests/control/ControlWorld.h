#pragma once

#include "control/ControlService.h"
#include "lab/PrivateBus.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/QtMainQueue.h"
#include "support/EventLoop.h"
#include "support/FakeLaunchAtLogin.h"
#include "support/World.h"

#include <QDBusConnection>

#include <optional>

namespace zolvex::test {

inline const std::vector<PairedDevicePayload> pairedHere{
    {"A1", "Magic Keyboard", true}, {"B2", "magic mouse", false}, {"C3", "Headset", false}};

/// A computer on virtual time whose control service is on a real, private session bus.
class ControlWorld {
 public:
  explicit ControlWorld(const std::vector<std::string>& devices = {"Magic Keyboard", "Magic Trackpad"},
                        bool hasPeer = true)
      : world(devices, hasPeer) {
    busStarted = bus.start();
    setPaired(pairedHere);
    service.emplace(controlled(), decisions, link);
    link.start();
  }

  bool isReady() {
    return busStarted && runUntil([this] { return link.isConnected() && isNameTaken(); });
  }

  void setPaired(const std::vector<PairedDevicePayload>& devices) {
    world.workers.set("listPaired", "", {.output = encodePairedDevices(devices).value_or("")});
  }

  control::Controlled controlled() {
    return {world.time, world.defaults, world.store(), world.manager(), world.network(), scan, launchAtLogin, [this] {
              timesShown += hasWindows ? 1 : 0;
              return hasWindows;
            }};
  }

  bool hasWindows = true;
  int timesShown = 0;

  World world;
  VirtualSerialQueue scanQueue{world.time};
  control::PairedDeviceScan scan{world.time, scanQueue, world.workerClient};
  FakeLaunchAtLogin launchAtLogin;
  lab::PrivateBus bus;
  bool busStarted = false;
  QtMainQueue queue;
  LogFeed decisions{queue, {"DeviceManager"}};
  BusLink link{queue, "session bus", bus.address().toStdString()};
  std::optional<control::ControlService> service;

 private:
  bool isNameTaken();
};

}  // namespace zolvex::test
