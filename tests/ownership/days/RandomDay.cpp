#include "RandomDay.h"

#include "core/SettingsKeys.h"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <regex>
#include <utility>

namespace zolvex::test {

namespace {

/// Longer than every flow with its retries and what was queued before it.
constexpr Seconds longestUnrest{1200.0};
constexpr Seconds restFor{2.0};  ///< Longer than what was said last needs to arrive at the other computer.

constexpr Seconds lookInterval{1.0};  ///< Of what must hold at any time.

bool isStatusText(const std::string& text) {
  static const std::regex known(
      "(Launch|System wake|Screen wake|Screen unlock|Peer released|Setup)( retry){0,4}: "
      "(auto-connecting|connecting missing devices|retrying\\.\\.\\.)|"
      "(System sleep|Screen sleep|Screen lock): (releasing\\.\\.\\.|released|release failed)|"
      "Connecting\\.\\.\\.|Connecting missing devices\\.\\.\\.|Quick connecting\\.\\.\\.|Asking peer to "
      "release\\.\\.\\.|"
      "Peer unavailable\\. Quick connecting\\.\\.\\.|Connect failed\\. Quick connecting\\.\\.\\.|Connected!|"
      "Partially connected|Turn the device off and on, then try again\\.|No devices configured|Already connected|"
      "Not connected|Releasing\\.\\.\\.|Released\\. Pair on other Mac|Release may have failed|"
      "Peer released\\. Check Nearby Devices|Other Mac has zolvex|Cancelled");
  return std::regex_match(text, known);
}

}  // namespace

RandomDay::RandomDay(std::uint32_t seed) : random_(seed) {
  previousSink_ = setLogSink([this](const LogRecord& record) {
    note(fmt::format("    {} {}: {}", nameOf(record.level), record.category, record.message));
  });
  studio_.cable().plugInto(laptop_.cable());
  laptop_.cable().plugInto(studio_.cable());
}

RandomDay::~RandomDay() {
  for (auto* computer : computers_) computer->killProgram();
  setLogSink(std::move(previousSink_));
}

std::string RandomDay::live() {
  for (auto* computer : computers_) computer->startProgram();
  for (int i = 0; i < eventCount && complaint_.empty(); ++i) {
    happen();
    if (pick(3) == 0)
      comeToRest();
    else
      advance(Seconds(std::uniform_real_distribution(0.0, 30.0)(random_)));
    if (isSettled()) checkSettled();
  }
  if (complaint_.empty()) endTheDay();
  return complaint_;
}

void RandomDay::happen() {
  auto& computer = *computers_[static_cast<std::size_t>(pick(2))];
  const auto kind = pick(20);
  if (kind < 10)
    userEvent(computer);
  else if (kind < 16)
    click(computer);
  else if (kind < 17)
    changeSetting(computer);
  else
    misfortune(computer);
}

void RandomDay::userEvent(DayComputer& computer) {
  if (computer.isAsleep()) {
    note(computer.name() + " wakes");
    return computer.wake();
  }
  switch (pick(4)) {
    case 0:
      note(computer.name() + " goes to sleep");
      return computer.announceSleep();
    case 1:
      note(computer.name() + (computer.isDisplayOn() ? ": display off" : ": display on"));
      return computer.turnDisplay(!computer.isDisplayOn());
    default:
      note(computer.name() + (computer.isLocked() ? " is unlocked" : " is locked"));
      return computer.isLocked() ? computer.unlock() : computer.lock();
  }
}

void RandomDay::click(DayComputer& computer) {
  if (computer.isAsleep() || !computer.isRunning()) return;
  using Click = std::pair<const char*, std::function<void(DeviceManager&)>>;
  static const std::vector<Click> clicks{
      {"switch", [](auto& manager) { manager.connectToThisMac(true); }},
      {"quick connect", [](auto& manager) { manager.forceConnect(true); }},
      {"release", [](auto& manager) { manager.releaseDevices(); }},
      {"cancel", [](auto& manager) { manager.cancelCurrentOperation(); }},
      {"look", [](auto& manager) { manager.refreshFromLiveState(); }},
      {"hot key", [](auto& manager) { manager.handleHotKey(); }},
      {"choice of devices", [](auto& manager) { manager.devicesConfigured(); }},
  };
  const auto& [name, act] = clicks[static_cast<std::size_t>(pick(static_cast<int>(clicks.size())))];
  note(computer.name() + ": " + name);
  act(computer.manager());
}

void RandomDay::changeSetting(DayComputer& computer) {
  static constexpr std::array hours{-1.0, shortestAutoRelease / std::chrono::hours(1), 5.0 / 60, 1.0, 0.0};
  note(computer.name() + ": other settings");
  computer.defaults().set(settings::autoConnect, pick(4) != 0);
  computer.defaults().set(settings::autoRelease, pick(4) != 0);
  computer.defaults().set(settings::autoReleaseHours, hours[static_cast<std::size_t>(pick(5))]);
}

void RandomDay::misfortune(DayComputer& computer) {
  const auto& device = dayDevices()[static_cast<std::size_t>(pick(3))];
  switch (pick(5)) {
    case 0:
      return restart(computer);
    case 1:
      note("the cable is cut or mended");
      return computer.cable().cut(pick(2) == 0);
    case 2:
      note(computer.name() + ": workers hang, or no more");
      return computer.letWorkersHang(pick(3) == 0);
    case 3:
      note(device + " is switched off");
      radio_.unreachable.insert(device);
      return;
    default:
      note("all devices are switched on");
      return radio_.unreachable.clear();
  }
}

void RandomDay::restart(DayComputer& computer) {
  note(computer.name() + (computer.isRunning() ? ": Zolvex is killed" : ": Zolvex starts"));
  if (computer.isRunning())
    computer.killProgram();
  else if (!computer.isAsleep())
    computer.startProgram();
}

void RandomDay::comeToRest() {
  Seconds quiet{0};
  for (Seconds waited{0}; quiet < restFor; waited += Seconds(1)) {
    if (waited > longestUnrest) return complain("a flow runs for ever");
    advance(Seconds(1));
    const bool rests = isSettled() && !studio_.intends() && !laptop_.intends();
    quiet = rests ? quiet + Seconds(1) : Seconds(0);
  }
  checkRest();
}

void RandomDay::checkAlways() {
  for (auto* computer : computers_) {
    checkWhatIsSaid(*computer);
    checkWhatIsPending(*computer);
    if (computer->workersLeft() != 0) complain(computer->name() + " has left a worker behind");
  }
}

void RandomDay::checkWhatIsSaid(DayComputer& computer) {
  for (const auto& text : std::exchange(computer.statusTexts, {}))
    if (!isStatusText(text)) complain(computer.name() + " said \"" + text + "\"");
  if (std::exchange(computer.states, {}).contains(DeviceOwnershipState::connecting))
    complain(computer.name() + " was in a state that nothing sets");
  if (computer.isRunning() && computer.manager().isSwitching() != computer.manager().currentOperation().has_value())
    complain(computer.name() + " does not know whether a flow runs");
}

void RandomDay::checkWhatIsPending(const DayComputer& computer) {
  const auto atMostOne = [&](const char* kind, std::size_t count) {
    if (count > 1) complain(fmt::format("{}: {} pending: {}", computer.name(), kind, count));
  };
  atMostOne("retries", computer.pendingRetries());
  atMostOne("inactive releases", computer.pendingInactiveReleases());
  atMostOne("auto-release timers", computer.pendingAutoReleaseTimers());
  atMostOne("health checks", computer.pendingHealthChecks());
}

void RandomDay::checkSettled() {
  for (const auto& address : dayDevices()) {
    const auto claims = std::count_if(computers_.begin(), computers_.end(), [&](auto* computer) {
      if (!computer->isRunning() || computer->isAsleep()) return false;
      const auto& devices = computer->store().peripherals();
      return std::any_of(devices.begin(), devices.end(),
                         [&](const auto& device) { return device.id == address && device.isConnected; });
    });
    if (claims > 1) complain("both computers believe that they have " + address);
  }
}

void RandomDay::checkRest() {
  checkSettled();
  for (auto* computer : computers_) {
    if (computer->isAsleep() || !computer->isRunning()) continue;
    const auto state = computer->manager().ownershipState();
    if (state == DeviceOwnershipState::switchingToThisMac || state == DeviceOwnershipState::releasing)
      complain(computer->name() + " is in the state of a flow that does not run");
  }
}

void RandomDay::endTheDay() {
  note("every fault is lifted");
  radio_.unreachable.clear();
  for (auto* computer : computers_) {
    computer->cable().cut(false);
    computer->letWorkersHang(false);
    computer->defaults().set(settings::autoConnect, true);
  }
  comeToRest();  // one may just be falling asleep
  for (auto* computer : computers_) {
    if (computer->isAsleep()) computer->wake();
    if (!computer->isRunning()) computer->startProgram();
  }
  comeToRest();
  auto& last = *computers_[static_cast<std::size_t>(pick(2))];
  note(last.name() + " is locked and unlocked");
  last.lock();
  advance(Seconds(1));
  last.unlock();
  comeToRest();
  if (last.devicesHeld() != dayDevices().size()) complain("the devices did not follow the user to " + last.name());
}

void RandomDay::advance(Seconds duration) {
  for (auto left = duration; left > Seconds(0); left -= lookInterval) {
    time_.advance(std::min(left, lookInterval));
    checkAlways();
  }
}

void RandomDay::note(const std::string& what) {
  story_.push_back(fmt::format("{:9.2f} {}", time_.elapsed().count(), what));
}

void RandomDay::complain(const std::string& what) {
  if (!complaint_.empty()) return;
  complaint_ = what + "\n";
  const auto from = story_.size() > 80 ? story_.end() - 80 : story_.begin();
  std::for_each(from, story_.end(), [this](const auto& line) { complaint_ += line + "\n"; });
}

}  // namespace zolvex::test
