#include "DayComputer.h"

#include "core/SettingsKeys.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace zolvex::test {

/// A worker that takes a while, then does to the radio what it was started for.
class DayComputer::Worker final : public ChildProcess {
 public:
  Worker(DayComputer& computer, std::string command)
      : computer_(computer),
        command_(std::move(command)),
        left_(std::uniform_real_distribution(0.05, 3.0)(computer.random_)) {
    ++computer_.workersLeft_;
  }

  Seconds writeInput(std::string_view bytes, Seconds limit) override {
    address_ = bytes;
    return limit;
  }
  bool waitForExit(Seconds limit) override {
    if (hasEnded_) return true;
    const bool ends = !computer_.workersHang_ && left_ <= limit;
    computer_.time_.spend(ends ? left_ : limit);
    if (ends) exitStatus_ = computer_.act(command_, address_);
    if (ends) end();
    return hasEnded_;
  }
  void terminate() override { end(); }
  void kill() override { end(); }
  int exitStatus() const override { return exitStatus_; }
  std::string readOutput() override { return {}; }
  std::string readError() override { return {}; }

 private:
  void end() {
    if (!std::exchange(hasEnded_, true)) --computer_.workersLeft_;
  }

  DayComputer& computer_;
  std::string command_;
  std::string address_;
  Seconds left_;
  bool hasEnded_ = false;
  int exitStatus_ = 143;
};

DayComputer::Program::Program(DayComputer& computer)
    : bluetoothQueue(computer),
      workerClient(computer, "/opt/zolvex"),
      store(computer.queue_, bluetoothQueue, computer.defaults_, workerClient),
      network(computer.queue_, computer.defaults_, {nullptr, computer.cable_}),
      manager({computer.queue_, computer.defaults_, store, network, computer.notifier_, computer.session_,
               computer.session_}),
      sleepPreparation({computer.queue_, manager, network, computer.session_, computer}),
      texts(manager.observeLastResult([&computer](const auto& text) { computer.statusTexts.insert(text); })),
      states(manager.observeOwnershipState([&computer](auto state) { computer.states.insert(state); })) {
  network.start(manager);
}

void DayComputer::ProgramQueue::async(std::function<void()> work) {
  computer_.bluetoothThread_.async(
      [this, &computer = computer_, isRunning = std::weak_ptr(isRunning_), work = std::move(work)] {
        if (isRunning.expired()) return;
        if (computer.isAsleep())
          computer.queue_.whenAwake([this, isRunning, work] {
            if (!isRunning.expired()) async(work);
          });
        else
          work();
      });
}

DayComputer::DayComputer(std::string name, VirtualTime& time, DayRadio& radio, Random& random)
    : name_(std::move(name)), time_(time), radio_(radio), random_(random) {
  defaults_.registerDefaults({{std::string(settings::autoConnect), true},
                              {std::string(settings::autoRelease), true},
                              {std::string(settings::autoReleaseHours), -1.0}});
  StringDictionary names;
  for (const auto& address : dayDevices()) names[address] = "Device " + address;
  defaults_.set(settings::managedDeviceAddresses, dayDevices());
  defaults_.set(settings::deviceNames, names);
  defaults_.set(settings::transportMode, std::string(settings::transportBonjour));
  const std::vector peers{NetworkDevice{"ABC123", "ABC123", "192.0.2.7", std::uint16_t{4711}, time.now(), false, {}}};
  defaults_.set(settings::networkDevices, *encodeNetworkDevices(peers));
}

void DayComputer::startProgram() {
  program_.emplace(*this);
}

void DayComputer::killProgram() {
  program_.reset();
}

void DayComputer::lock() {
  isLocked_ = true;
  session_.happens(SessionEvent::screenLocked);
}

void DayComputer::unlock() {
  isLocked_ = false;
  session_.happens(SessionEvent::screenUnlocked);
}

void DayComputer::turnDisplay(bool on) {
  isDisplayOn_ = on;
  session_.happens(on ? SessionEvent::displayDidWake : SessionEvent::displayDidSleep);
}

void DayComputer::announceSleep() {
  sleep_ = time_.after(longestSleepDelay, [this] { fallAsleep(); });
  if (isRunning())
    session_.happens(SessionEvent::systemWillSleep);
  else
    fallAsleep();
}

void DayComputer::allowSleep() {
  sleep_ = time_.after(Seconds(0.1), [this] { fallAsleep(); });
}

void DayComputer::fallAsleep() {
  sleep_.cancel();
  queue_.sleep();
}

void DayComputer::wake() {
  sleep_.cancel();
  queue_.wake();
  session_.happens(SessionEvent::systemDidWake);
}

bool DayComputer::isBusy() {
  return isRunning() && !isAsleep() && manager().isSwitching();
}

std::size_t DayComputer::pendingAutoReleaseTimers() const {
  const auto& delays = queue_.pendingDelays();
  return static_cast<std::size_t>(std::distance(delays.lower_bound(shortestAutoRelease), delays.end()));
}

std::size_t DayComputer::pendingHealthChecks() const {
  return pendingWith(NetworkDeviceStore::firstHealthCheckDelay) + pendingWith(NetworkDeviceStore::peerHealthInterval);
}

bool DayComputer::intends() const {
  const auto requests = pendingWith(peerProtocol::commandTimeout);
  const auto others = requests + pendingHealthChecks() + pendingAutoReleaseTimers();
  return !isAsleep() && queue_.pendingDelays().size() > others;
}

std::size_t DayComputer::devicesHeld() const {
  const auto isMine = [this](const auto& bond) { return bond.second == name_; };
  return static_cast<std::size_t>(std::count_if(radio_.bonds.begin(), radio_.bonds.end(), isMine));
}

std::variant<std::unique_ptr<ChildProcess>, ProcessLauncher::Error> DayComputer::launch(
    const std::string&, std::span<const std::string> arguments) {
  return std::make_unique<Worker>(*this, arguments.back());
}

int DayComputer::act(const std::string& command, const std::string& address) {
  constexpr int done = 0;
  constexpr int failed = 70;
  constexpr int notFound = 66;
  const auto bond = radio_.bonds.find(address);
  const bool isMine = bond != radio_.bonds.end() && bond->second == name_;
  if (command == "unregister") {
    if (!isMine) return notFound;
    radio_.bonds.erase(bond);
    return done;
  }
  if (radio_.unreachable.contains(address)) return failed;
  if (bond != radio_.bonds.end() && !isMine) return notFound;
  radio_.bonds[address] = name_;
  return done;
}

const std::vector<std::string>& dayDevices() {
  static const std::vector<std::string> addresses{"A1", "A2", "A3"};
  return addresses;
}

}  // namespace zolvex::test
