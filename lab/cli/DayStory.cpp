#include "lab/cli/DayStory.h"

#include "lab/cli/Cast.h"

#include <algorithm>
#include <memory>

namespace zolvex::lab {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds beginLimit = 40s;
constexpr std::chrono::milliseconds actLimit = 10s;
constexpr std::chrono::milliseconds moveLimit = 30s;
constexpr std::chrono::milliseconds restLimit = 10s;

/// After a lock Zolvex keeps the devices for so long, should the user come back.
constexpr std::chrono::milliseconds lockGrace = 20s;

/// Twice within 12 s Zolvex does not look whether it should connect, unless the screen was unlocked.
constexpr std::chrono::milliseconds debounce = 12'500ms;

constexpr std::chrono::milliseconds shortBreak = 3s;

/// What the user needs from one scene to the next.
constexpr std::chrono::milliseconds wayTime = 1s;

/// Longer than Zolvex takes to begin a move, if it were to.
constexpr std::chrono::milliseconds quietTime = 2'500ms;

}  // namespace

DayStory::DayStory(World& world, Report& report) : world_(world), report_(report) {
  QObject::connect(&world.radio(), &Radio::changed, &context_, [this] { countMoves(); });
}

PlayResult DayStory::play(const std::vector<Fault>& faults) {
  auto isFine = begin();
  for (const auto& fault : faults) world_.radio().inject(fault);
  using Scene = bool (DayStory::*)();
  for (const Scene scene :
       {&DayStory::leaveLaptopLocked, &DayStory::comeBackToLaptop, &DayStory::takeShortBreak, &DayStory::closeLaptop,
        &DayStory::closeStudioAndOpenLaptop, &DayStory::openStudio, &DayStory::lookAway})
    isFine = isFine && (this->*scene)();
  const auto expected = static_cast<int>(durations_.size());
  if (isFine && moves_ != expected)
    isFine = fail(u"the devices moved %1 times instead of %2"_s.arg(moves_).arg(expected));
  if (world_.isInterrupted()) return {false, u"day: interrupted"_s};
  const auto moved = u"day: %1 devices moved %2 times"_s.arg(deviceCount()).arg(moves_);
  if (!isFine) return {false, u"%1, then it went wrong: %2"_s.arg(moved, failure_)};
  return {true, u"%1, every time within %2 ms"_s.arg(moved).arg(*std::ranges::max_element(durations_))};
}

// Both computers start with the screen unlocked. Studio looks for the devices, too, and finds none.
bool DayStory::begin() {
  scene_ = u"in the beginning"_s;
  world_.giveDevicesTo(laptop);
  moves_ = 0;
  if (!world_.startZolvex() || !world_.waitForPeers(findLimit)) return fail(world_.errorString());
  auto& control = world_.desktop(laptop).control();
  const auto hasTaken = [&] { return control.connectedDevices() == deviceCount() && !control.isSwitching(); };
  return world_.waitUntil(hasTaken, beginLimit) || fail(u"Laptop did not take its own devices"_s);
}

bool DayStory::leaveLaptopLocked() {
  tell(u"The user locks Laptop and goes to Studio"_s);
  return act(laptop, SessionAct::lock) && moveTo(studio, lockGrace);
}

bool DayStory::comeBackToLaptop() {
  tell(u"The user comes back to Laptop"_s);
  return act(laptop, SessionAct::unlock) && moveTo(laptop);
}

bool DayStory::takeShortBreak() {
  tell(u"The user takes a break, too short to matter"_s);
  if (!act(laptop, SessionAct::lock)) return false;
  letTimePass(shortBreak);
  return act(laptop, SessionAct::unlock) && stayAt(laptop);
}

bool DayStory::closeLaptop() {
  tell(u"The user closes Laptop and goes to Studio"_s);
  return act(laptop, SessionAct::sleep) && moveTo(studio);
}

bool DayStory::closeStudioAndOpenLaptop() {
  tell(u"The user locks Studio and closes it, too"_s);
  if (!act(studio, SessionAct::lock) || !act(studio, SessionAct::sleep)) return false;
  for (const auto& address : world_.radio().addresses())
    if (!world_.radio().holder(address).isEmpty()) return fail(u"Studio fell asleep with a device"_s);
  waitOutDebounce(laptop);
  tell(u"The user opens Laptop"_s);
  return act(laptop, SessionAct::wake) && moveTo(laptop);
}

// Unlocking asks the peer for the devices, waking alone does not.
bool DayStory::openStudio() {
  tell(u"The user opens Studio and unlocks it"_s);
  return act(studio, SessionAct::wake) && act(studio, SessionAct::unlock) && moveTo(studio);
}

bool DayStory::lookAway() {
  tell(u"The display of Studio is off for a moment"_s);
  if (!act(studio, SessionAct::displayOff)) return false;
  letTimePass(shortBreak);
  return act(studio, SessionAct::displayOn) && stayAt(studio);
}

void DayStory::tell(const QString& scene) {
  letTimePass(wayTime);
  scene_ = scene;
  if (!world_.isInterrupted()) report_.print(u"lab"_s, scene);
}

bool DayStory::act(const QString& computer, SessionAct act) {
  if (act == SessionAct::unlock || act == SessionAct::wake) sinceComing_[computer].start();
  sinceAct_.start();
  const auto end = std::make_shared<ActOutcome>();  // may come late
  world_.desktop(computer).session().perform(act, [end](const ActOutcome& outcome) { *end = outcome; });
  world_.waitUntil([&] { return !end->text.isEmpty(); }, actLimit);
  if (end->text.isEmpty()) return fail(u"%1 did not do it within %2 ms"_s.arg(computer).arg(actLimit.count()));
  return end->isDone || fail(end->text);
}

bool DayStory::moveTo(const QString& computer, std::chrono::milliseconds grace) {
  const auto isThere = [&] { return world_.devicesOf(computer) == deviceCount(); };
  if (!world_.waitUntil(isThere, grace + moveLimit))
    return fail(u"not all devices came to %1 within %2 ms: %3"_s.arg(computer)
                    .arg(moveLimit.count())
                    .arg(world_.missingAt(computer).join(u"; "_s)));
  durations_.push_back(sinceAct_.elapsed() - grace.count());
  report_.print(u"lab"_s, u"All devices are at %1, %2 ms after they could move"_s.arg(computer).arg(durations_.back()));
  waitForRest();
  return true;
}

bool DayStory::stayAt(const QString& computer) {
  const auto before = moves_;
  letTimePass(quietTime);
  const auto missing = world_.missingAt(computer);
  return (missing.isEmpty() && moves_ == before) || fail(u"they should have stayed; "_s + missing.join(u"; "_s));
}

void DayStory::letTimePass(std::chrono::milliseconds time) {
  world_.waitUntil([] { return false; }, time);
}

void DayStory::waitOutDebounce(const QString& computer) {
  const auto& since = sinceComing_[computer];
  if (since.isValid()) letTimePass(std::max(0ms, debounce - std::chrono::milliseconds(since.elapsed())));
}

// What both sides say of it in the end belongs to the show.
void DayStory::waitForRest() {
  world_.waitUntil([this] { return world_.hasComeToRest(); }, restLimit);
}

bool DayStory::fail(const QString& what) {
  failure_ = u"%1: %2"_s.arg(scene_, what);
  return false;
}

void DayStory::countMoves() {
  for (const auto& desktop : world_.desktops()) {
    if (desktop->name() == owner_ || world_.devicesOf(desktop->name()) < deviceCount()) continue;
    owner_ = desktop->name();
    ++moves_;
  }
}

int DayStory::deviceCount() const {
  return static_cast<int>(world_.radio().addresses().size());
}

}  // namespace zolvex::lab
