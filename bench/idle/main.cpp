#include "idle/IdleProcess.h"
#include "lab/PrivateBus.h"

#include <QCoreApplication>
#include <fmt/format.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

// The headless application while nothing happens, beside the least that a program on the two buses can be: memory, and
// how often it is woken up. "bench-idle [SECONDS]" watches for that long, 60 s by default.

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

void printRow(const char* name, const Cost& before, const Cost& after, const Cost& bare, double seconds) {
  const auto wakeUps = static_cast<double>(after.wakeUps - before.wakeUps) / seconds;
  fmt::print("{:<34} {:>8.1f} {:>8.1f} {:>8.2f} {:>8} {:>12.3f}\n", name, after.sharedOutMebibytes,
             after.privateMebibytes, after.sharedOutMebibytes / bare.sharedOutMebibytes, after.threads, wakeUps);
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const double seconds = argc > 1 ? std::atof(argv[1]) : defaultWatchSeconds;
  lab::PrivateBus system;
  lab::PrivateBus session;
  lab::PrivateBus otherSession;
  if (!(seconds > 0) || !system.start() || !session.start() || !otherSession.start()) {
    fmt::print(stderr, "usage: bench-idle [SECONDS]; it needs dbus-daemon\n");
    return EXIT_FAILURE;
  }
  const auto environment = environmentOf(system, session);
  const QString zolvexProgram = QStringLiteral(ZOLVEX);
  IdleProcess bare(QStringLiteral(BARE_QT_PROGRAM), environment);
  IdleProcess alone(zolvexProgram, environment, R"({"transportMode": "bonjour"})");
  const auto port = alone.waitFor("Listener ready: Port ");
  IdleProcess checking(zolvexProgram, environmentOf(system, otherSession), settingsWithPeer(port));
  if (bare.waitFor("ready").empty() || port.empty() || checking.waitFor("connected to the session bus").empty()) {
    fmt::print(stderr, "a program did not start\n");
    return EXIT_FAILURE;
  }

  std::this_thread::sleep_for(settleTime);
  const Cost before[] = {bare.cost(), alone.cost(), checking.cost()};
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  const Cost after[] = {bare.cost(), alone.cost(), checking.cost()};

  fmt::print("Idle for {} s\n{:<34} {:>8} {:>8} {:>8} {:>8} {:>12}\n", seconds, "", "PSS MiB", "own MiB", "ratio",
             "threads", "wake-ups/s");
  printRow("bare Qt program on two buses", before[0], after[0], after[0], seconds);
  printRow("zolvex, asked by a peer", before[1], after[1], after[0], seconds);
  printRow("zolvex, asks its peer every 15 s", before[2], after[2], after[0], seconds);
  return EXIT_SUCCESS;
}
