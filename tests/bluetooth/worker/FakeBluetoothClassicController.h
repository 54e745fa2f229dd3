#pragma once

#include "bluetooth/worker/BluetoothClassicController.h"

#include <fmt/core.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace zolvex::test {

/// A Bluetooth stack with one device at most, whose state the test sets. Every call is noted, in order.
class FakeBluetoothStack {
 public:
  static constexpr const char* knownAddress = "AA-BB-CC-DD-EE-FF";

  bool poweredOn = true;
  bool deviceExists = true;
  bool deviceConnected = false;
  int deviceRssi = noRssiReading;
  bool canRemove = true;
  std::int32_t openStatus = ioReturn::success;

  /// The attempt, counted from 1, that leaves the device connected; 0 for none.
  int connectsOnAttempt = 0;

  std::vector<BluetoothClassicController::PairedDevice> paired;
  std::vector<std::string> calls;
  int attempts = 0;

  std::unique_ptr<BluetoothClassicController> openController();

  auto countOf(const std::string& call) const { return std::count(calls.begin(), calls.end(), call); }
};

class FakeBluetoothClassicDevice final : public BluetoothClassicDevice {
 public:
  explicit FakeBluetoothClassicDevice(FakeBluetoothStack& stack) : stack_(stack) {}

  bool isConnected() override {
    stack_.calls.push_back("isConnected");
    return stack_.deviceConnected;
  }
  int rssi() override {
    stack_.calls.push_back("rssi");
    return stack_.deviceRssi;
  }
  std::int32_t openConnection() override {
    stack_.calls.push_back("openConnection");
    if (++stack_.attempts == stack_.connectsOnAttempt) stack_.deviceConnected = true;
    return stack_.openStatus;
  }
  bool removePairing() override {
    stack_.calls.push_back("removePairing");
    return stack_.canRemove;
  }

 private:
  FakeBluetoothStack& stack_;
};

class FakeBluetoothClassicController final : public BluetoothClassicController {
 public:
  explicit FakeBluetoothClassicController(FakeBluetoothStack& stack) : stack_(stack) {}

  Found deviceWithAddress(const std::string& address, Lookup lookup) override {
    stack_.calls.push_back(fmt::format("lookup {} {}", address, lookup == Lookup::known ? "known" : "inRange"));
    if (!stack_.deviceExists || address != FakeBluetoothStack::knownAddress) return {.isPoweredOn = stack_.poweredOn};
    return {.isPoweredOn = stack_.poweredOn, .device = std::make_unique<FakeBluetoothClassicDevice>(stack_)};
  }
  std::vector<PairedDevice> pairedDevices() override {
    stack_.calls.push_back("pairedDevices");
    return stack_.paired;
  }

 private:
  FakeBluetoothStack& stack_;
};

inline std::unique_ptr<BluetoothClassicController> FakeBluetoothStack::openController() {
  calls.push_back("openController");
  return std::make_unique<FakeBluetoothClassicController>(*this);
}

}  // namespace zolvex::test
