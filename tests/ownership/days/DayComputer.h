#pragma once

#include "DayCable.h"
#include "ownership/SleepPreparation.h"
#include "support/FakeSession.h"
#include "support/MemoryUserDefaults.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace zolvex::test {

using Random = std::mt19937;

/// Which computer each device is bonded to. A device that is bonded to one cannot be reached by the other.
struct DayRadio {
  std::map<std::string, std::string> bonds;  ///< Address to the computer's name.
  std::set<std::string> unreachable;         ///< Addresses of devices that are switched off.
};

/// One computer with the real rules, whose program may be killed and started again, and which may sleep. Its workers
/// act on the radio.
class DayComputer final : private ProcessLauncher, private SleepInhibitor {
 public:
  static constexpr Seconds longestSleepDelay{5.0};

  DayComputer(std::string name, VirtualTime& time, DayRadio& radio, Random& random);

  const std::string& name() const { return name_; }
  DayCable& cable() { return cable_; }
  MemoryUserDefaults& defaults() { return defaults_; }

  // What its user and the day do to it.
  void startProgram();
  void killProgram();
  void lock();
  void unlock();
  void turnDisplay(bool on);
  void announceSleep();
  void wake();
  void letWorkersHang(bool hang) { workersHang_ = hang; }

  bool isRunning() const { return program_.has_value(); }
  bool isAsleep() const { return queue_.isAsleep(); }
  bool isLocked() const { return isLocked_; }
  bool isDisplayOn() const { return isDisplayOn_; }

  /// Only while the program runs.
  DeviceManager& manager() { return program_->manager; }
  BluetoothPeripheralStore& store() { return program_->store; }

  /// Whether its program is in the middle of something.
  bool isBusy();

  /// Whether its program does nothing and has been told of everything that its workers have done.
  bool isSettled() { return !isBusy() && (isAsleep() || bluetoothThread_.isIdle()); }

  /// Whether a step waits that leads to a flow, or to more of one: a retry, a look at what has become of the devices.
  bool intends() const;

  /// What the rules have waiting for its time, by the delay that each kind has for itself.
  std::size_t pendingRetries() const { return pendingWith(DeviceManager::autoConnectRetryDelay); }
  std::size_t pendingInactiveReleases() const { return pendingWith(DeviceManager::inactiveReleaseDelay); }
  std::size_t pendingAutoReleaseTimers() const;
  std::size_t pendingHealthChecks() const;

  /// How many worker processes were started and have not ended.
  int workersLeft() const { return workersLeft_; }

  /// How many devices are bonded to it.
  std::size_t devicesHeld() const;

  /// Every status text and every state that was published.
  std::set<std::string> statusTexts;
  std::set<DeviceOwnershipState> states;

 private:
  class Worker;
  class Silence final : public OwnershipNotifier {
   public:
    void notifyDevicesMovedHere() override {}
    void notifySomeDevicesMovedHere() override {}
    void notifyDevicesMovedToPeer() override {}
  };

  /// Runs work as long as the program does, and not while the computer sleeps.
  class ProgramQueue final : public SerialQueue {
   public:
    explicit ProgramQueue(DayComputer& computer) : computer_(computer) {}
    void async(std::function<void()> work) override;

   private:
    DayComputer& computer_;
    std::shared_ptr<char> isRunning_ = std::make_shared<char>();
  };

  struct Program {
    explicit Program(DayComputer& computer);
    ProgramQueue bluetoothQueue;
    BluetoothWorkerClient workerClient;
    BluetoothPeripheralStore store;
    NetworkDeviceStore network;
    DeviceManager manager;
    SleepPreparation sleepPreparation;
    Subscription texts;
    Subscription states;
  };

  std::variant<std::unique_ptr<ChildProcess>, Error> launch(const std::string& executable,
                                                            std::span<const std::string> arguments) override;
  void allowSleep() override;
  void fallAsleep();
  int act(const std::string& command, const std::string& address);
  std::size_t pendingWith(Seconds delay) const { return queue_.pendingDelays().count(delay); }

  std::string name_;
  VirtualTime& time_;
  DayRadio& radio_;
  Random& random_;
  SleepyQueue queue_{time_};
  VirtualSerialQueue bluetoothThread_{time_};
  MemoryUserDefaults defaults_;
  FakeSession session_;
  Silence notifier_;
  DayCable cable_{time_, queue_};
  WorkItem sleep_;
  bool isLocked_ = false;
  bool isDisplayOn_ = true;
  bool workersHang_ = false;
  int workersLeft_ = 0;
  std::optional<Program> program_;
};

/// The shortest of the auto-release timers that a day sets; everything else that waits takes less.
inline constexpr Seconds shortestAutoRelease = std::chrono::minutes(1);

/// The addresses of the devices of a day.
const std::vector<std::string>& dayDevices();

}  // namespace zolvex::test
