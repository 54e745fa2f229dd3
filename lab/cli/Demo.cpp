#include "lab/cli/Demo.h"

#include "lab/cli/Cast.h"

namespace zolvex::lab {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds connectLimit = 40s;
constexpr std::chrono::milliseconds announceLimit = 3s;

/// Longer than everything that the flow waits for: a release of three devices and two passes of connecting them.
constexpr std::chrono::milliseconds switchLimit = 120s;

/// A flow that has ended while nothing works any more will not move anything either.
constexpr std::chrono::milliseconds restTime = 2s;

}  // namespace

PlayResult Demo::play(const std::vector<Fault>& faults) {
  world_.giveDevicesTo(laptop);
  if (!world_.startZolvex() || !world_.waitForPeers(findLimit)) return failure(world_.errorString());
  if (!letLaptopConnect()) return failure(u"Laptop did not take note of its own devices"_s);
  for (const auto& fault : faults) world_.radio().inject(fault);
  letStudioSwitch();
  return world_.isInterrupted() ? interrupted() : judge();
}

// A program that has just started takes all devices for not connected.
bool Demo::letLaptopConnect() {
  report_.print(u"lab"_s, u"Laptop has the devices and looks what it has (quick connect)"_s);
  auto& control = world_.desktop(laptop).control();
  const auto all = static_cast<int>(world_.radio().addresses().size());
  control.forceConnect(true);
  if (!world_.waitUntil([&] { return control.connectedDevices() == all && !control.isSwitching(); }, connectLimit))
    return false;
  // Studio is told so; its own switch comes after that.
  world_.waitUntil([&] { return world_.desktop(studio).control().ownershipState() == u"otherMac"_s; }, announceLimit);
  return true;
}

void Demo::letStudioSwitch() {
  report_.print(u"lab"_s, u"Studio switches"_s);
  const auto all = static_cast<int>(world_.radio().addresses().size());
  clock_.start();
  world_.desktop(studio).control().connectToThisMac(true);
  QElapsedTimer rest;
  world_.waitUntil(
      [&] {
        if (world_.devicesOf(studio) == all) return true;
        if (!world_.hasComeToRest())
          rest.invalidate();
        else if (!rest.isValid())
          rest.start();
        return rest.isValid() && rest.hasExpired(restTime.count());
      },
      switchLimit);
  milliseconds_ = clock_.elapsed();
  // What both sides say of it in the end belongs to the show.
  world_.waitUntil(
      [&] { return world_.hasComeToRest() && world_.desktop(laptop).control().ownershipState() == u"otherMac"_s; },
      announceLimit);
}

PlayResult Demo::judge() const {
  const auto all = static_cast<int>(world_.radio().addresses().size());
  const auto moved = world_.devicesOf(studio);
  auto text = u"demo: %1 of %2 devices moved from Laptop to Studio in %3 ms"_s.arg(moved).arg(all).arg(milliseconds_);
  if (moved == all) return {true, text};
  for (const auto& missing : world_.missingAt(studio)) text += u"; "_s + missing;
  return {false, text};
}

PlayResult Demo::interrupted() {
  return {false, u"demo: interrupted"_s};
}

PlayResult Demo::failure(const QString& what) const {
  if (world_.isInterrupted()) return interrupted();
  return {false, u"demo: nothing was moved: %1"_s.arg(what)};
}

}  // namespace zolvex::lab
