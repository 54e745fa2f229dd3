#include "idle/IdleProcess.h"
#include "lab/PrivateBus.h"

#include <QCoreApplication>
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

// The headless application while nothing happens, beside the least that a program on the two buses can be: memory, how
// often it is woken up, and processor time. "bench-idle [SECONDS]" watches for that long, 60 s by default.

using namespace zolvex;
using namespace zolvex::bench;
using Cost = IdleProcess::Cost;

namespace {

constexpr std::chrono::seconds settleTime{8};  // for the start-up, and the first health check after 3 s
constexpr double defaultWatchSeconds = 60;

QProcessEnvironment environmentOf(const lab::PrivateBus& system, const lab::PrivateBus& session) {
  auto environment = QProcessEnvironment::systemEnvironment();
  environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), system.address());
  environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), session.address());
  return environment;
}

/// Settings whose registered peer listens on this machine.
QByteArray settingsWithPeer(const std::string& port) {
  return QByteArray::fromStdString(
      R"({"transportMode": "bonjour", "networkDevices": "[{\"id\":\"ABC123\",\"name\":\"Peer\",)"
      R"(\"host\":\"127.0.0.1\",\"lastUpdated\":0,\"isActive\":false,\"port\":)" +
      port + R"(}]"})");
}

struct Watched {
  const char* name;
  const IdleProcess& process;
  Cost before = {};
  Cost after = {};
};

void printTable(const std::vector<Watched>& all, double seconds) {
  fmt::print("Idle for {} s\n{:<34} {:>8} {:>8} {:>8} {:>8} {:>12} {:>8}\n", seconds, "", "PSS MiB", "own MiB", "ratio",
             "threads", "wake-ups/s", "CPU %");
  for (const auto& [name, process, before, after] : all) {
    const auto ratio = after.sharedOutMebibytes / all.front().after.sharedOutMebibytes;
    const auto wakeUps = static_cast<double>(after.wakeUps - before.wakeUps) / seconds;
    const auto cpuPercent = (after.cpuSeconds - before.cpuSeconds) / seconds * 100;
    fmt::print("{:<34} {:>8.1f} {:>8.1f} {:>8.2f} {:>8} {:>12.3f} {:>8.4f}\n", name, after.sharedOutMebibytes,
               after.privateMebibytes, ratio, after.threads, wakeUps, cpuPercent);
  }
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const double seconds = argc > 1 ? std::atof(argv[1]) : defaultWatchSeconds;
  lab::PrivateBus system;
  std::array<lab::PrivateBus, 4> sessions;
  if (!(seconds > 0) || !system.start() ||
      !std::all_of(sessions.begin(), sessions.end(), [](auto& bus) { return bus.start(); })) {
    fmt::print(stderr, "usage: bench-idle [SECONDS]; it needs dbus-daemon\n");
    return EXIT_FAILURE;
  }
  const QString zolvexProgram = QStringLiteral(ZOLVEX);
  IdleProcess bare(QStringLiteral(BARE_QT_PROGRAM), environmentOf(system, sessions[0]));
  IdleProcess alone(zolvexProgram, environmentOf(system, sessions[0]), R"({"transportMode": "bonjour"})");
  // Each asks the one before it.
  constexpr auto listens = "Listener ready: Port ";
  IdleProcess asked(zolvexProgram, environmentOf(system, sessions[1]), R"({"transportMode": "bonjour"})");
  const auto port = asked.waitFor(listens);
  IdleProcess both(zolvexProgram, environmentOf(system, sessions[2]), settingsWithPeer(port));
  const auto portOfBoth = both.waitFor(listens);
  IdleProcess asking(zolvexProgram, environmentOf(system, sessions[3]), settingsWithPeer(portOfBoth));
  if (bare.waitFor("ready").empty() || alone.waitFor("connected to the session bus").empty() || port.empty() ||
      portOfBoth.empty() || asking.waitFor("connected to the session bus").empty()) {
    fmt::print(stderr, "a program did not start\n");
    return EXIT_FAILURE;
  }

  std::vector<Watched> all{{"bare Qt program on two buses", bare},
                           {"zolvex, without a peer", alone},
                           {"zolvex, asked by a peer", asked},
                           {"zolvex, asks its peer every 15 s", asking},
                           {"zolvex, asks and is asked", both}};
  std::this_thread::sleep_for(settleTime);
  for (auto& watched : all) watched.before = watched.process.cost();
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  for (auto& watched : all) watched.after = watched.process.cost();
  printTable(all, seconds);
  return EXIT_SUCCESS;
}
