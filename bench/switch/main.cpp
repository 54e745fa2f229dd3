#include "bluetooth/BluetoothWorkerClient.h"
#include "core/Log.h"
#include "lab/EventWait.h"
#include "lab/world/Sandbox.h"
#include "lab/world/World.h"
#include "platform/linux/PosixProcessLauncher.h"

#include <QCoreApplication>
#include <fmt/core.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <span>
#include <thread>
#include <variant>
#include <vector>

// A whole switch of three devices between two computers of the lab without any latency (the request to the peer, its
// three removals, its answer, three connects), against the six worker runs of it made alone, one after another. Both
// in turns and in both directions. "bench-switch [ROUNDS]", 20 by default.

using namespace zolvex;
using namespace zolvex::lab;
using namespace std::chrono_literals;

namespace {

constexpr int defaultRounds = 20;
constexpr int deviceCount = 3;
constexpr auto stepLimit = 20s;
constexpr Seconds workerLimit{12.0};

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.at(values.size() / 2);
}

class SwitchBench {
 public:
  SwitchBench() : world_(options()) {
    QObject::connect(&world_.radio(), &Radio::changed, &world_, [this] { lastChange_ = Clock::now(); });
  }

  /// False when something did not happen that should have.
  bool run(int rounds) {
    if (!prepare()) return false;
    for (int round = 0; round < rounds; ++round) {
      auto& from = round % 2 == 0 ? laptop() : studio();
      auto& to = round % 2 == 0 ? studio() : laptop();
      if (!workersAlone(from, to) || !workersAlone(to, from) || !wholeSwitch(from, to)) return false;
    }
    return true;
  }

  void print() const {
    fmt::print("{:<40} {:>10} {:>8}\n", "three devices, no latency", "median ms", "ratio");
    fmt::print("{:<40} {:>10.1f} {:>8.2f}\n", "six worker runs alone", median(alone_), 1.0);
    fmt::print("{:<40} {:>10.1f} {:>8.2f}\n", "whole switch", median(whole_), median(whole_) / median(alone_));
  }

 private:
  static WorldOptions options() {
    WorldOptions options;
    options.zolvex = QStringLiteral(ZOLVEX_PROGRAM);
    options.timing.latency = 0ms;
    return options;
  }

  Desktop& studio() { return world_.desktop(QStringLiteral("Studio")); }
  Desktop& laptop() { return world_.desktop(QStringLiteral("Laptop")); }

  bool prepare() {
    if (!world_.start()) return fail("the world did not start: " + world_.errorString().toStdString());
    world_.giveDevicesTo(QStringLiteral("Laptop"));
    if (!world_.startZolvex() || !world_.waitForPeers(stepLimit)) return fail("the computers did not find each other");
    laptop().control().forceConnect(true);
    return comesToRest(laptop()) || fail("the Laptop did not take its devices");
  }

  bool holdsAll(const Desktop& desktop) const { return world_.devicesOf(desktop.name()) == deviceCount; }

  /// Zolvex on `holder` knows of all its devices, and no command is under way.
  bool comesToRest(Desktop& holder) {
    return waitUntil(
        [&] {
          return holdsAll(holder) && holder.control().connectedDevices() == deviceCount &&
                 !studio().control().isSwitching() && !laptop().control().isSwitching() &&
                 World::workerProcesses().empty();
        },
        stepLimit);
  }

  bool wholeSwitch(Desktop& from, Desktop& to) {
    const auto begin = Clock::now();
    to.control().connectToThisMac(true);
    if (!waitUntil([&] { return holdsAll(to); }, stepLimit)) return fail("a switch moved not all devices");
    whole_.push_back(Milliseconds(lastChange_ - begin).count());
    return comesToRest(to) || fail("a switch did not end: " + from.control().lastResult().toStdString());
  }

  bool workersAlone(Desktop& from, Desktop& to) {
    const auto removing = workers(from, BluetoothWorkerCommand::unregister);
    const auto connecting = workers(to, BluetoothWorkerCommand::connect);
    if (!holdsAll(to)) return fail("the workers moved not all devices");
    alone_.push_back((removing + connecting).count());
    return true;
  }

  /// The time of three runs, made on a thread of their own while the lab answers on this one.
  Milliseconds workers(Desktop& desktop, BluetoothWorkerCommand command) {
    const auto address = desktop.environment().value(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"));
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());
    Milliseconds spent{};
    std::atomic<bool> finished = false;
    std::thread runs([&] {
      for (const auto& device : world_.radio().addresses()) {
        const auto begin = Clock::now();
        client_.run(command, device.toStdString(), workerLimit);
        spent += Clock::now() - begin;
      }
      finished = true;
      QMetaObject::invokeMethod(
          &world_, [] {}, Qt::QueuedConnection);  // an event, so that the wait looks again
    });
    waitUntil([&] { return finished.load(); }, 60s);
    runs.join();
    return spent;
  }

  static bool fail(const std::string& what) {
    fmt::print(stderr, "{}\n", what);
    return false;
  }

  World world_;
  PosixProcessLauncher launcher_;
  BluetoothWorkerClient client_{launcher_, ZOLVEX_PROGRAM};
  Clock::time_point lastChange_{};
  std::vector<double> alone_;
  std::vector<double> whole_;
};

}  // namespace

int main(int argc, char** argv) {
  const auto entered = Sandbox::enter();
  if (const auto* ended = std::get_if<Sandbox::Ended>(&entered)) return ended->exitStatus;
  if (const auto* impossible = std::get_if<Sandbox::Impossible>(&entered)) {
    fmt::print(stderr, "skipped: {}\n", impossible->reason);
    return EXIT_FAILURE;
  }
  QCoreApplication application(argc, argv);
  setLogSink([](const LogRecord&) {});
  SwitchBench bench;
  if (!bench.run(argc > 1 ? std::max(2, std::atoi(argv[1])) : defaultRounds)) return EXIT_FAILURE;
  bench.print();
  return EXIT_SUCCESS;
}
