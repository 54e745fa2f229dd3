// How long one worker run takes that lists eight paired devices, against the two programs that people would use for
// that: `bluetoothctl devices Paired` and `busctl` with GetManagedObjects. All three speak to the same daemon on the
// same bus, in turns, so that whatever else the machine does falls on all of them.
//
//   bench-worker-listing [RUNS]     300 runs of each by default

#include "lab/PrivateBus.h"
#include "lab/Radio.h"
#include "lab/bluez/BluezService.h"

#include <QCoreApplication>
#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr int deviceCount = 8;
constexpr int usualRuns = 300;

struct Contender {
  std::string name;
  std::vector<std::string> command;
  std::vector<double> wall = {};  // milliseconds
  std::vector<double> cpu = {};
  bool failed = false;
};

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
  return values[values.size() / 2];
}

/// Starts a program without input and output, and waits for its end.
void runOnce(Contender& contender) {
  std::vector<char*> arguments;
  for (auto& argument : contender.command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t streams;
  posix_spawn_file_actions_init(&streams);
  posix_spawn_file_actions_addopen(&streams, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&streams, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);

  const auto begin = std::chrono::steady_clock::now();
  pid_t id = 0;
  int status = -1;
  rusage usage{};
  const bool started = posix_spawnp(&id, arguments[0], &streams, nullptr, arguments.data(), environ) == 0;
  contender.failed |= !started || wait4(id, &status, 0, &usage) != id || status != 0;
  const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;

  posix_spawn_file_actions_destroy(&streams);
  contender.wall.push_back(elapsed.count());
  contender.cpu.push_back(milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime));
}

/// The first contender is the one that the others are compared with.
void print(const std::vector<Contender>& contenders) {
  const auto& peer = contenders.front();
  fmt::print("{:<32}{:>12}{:>9}{:>12}{:>12}\n", "listing of 8 paired devices", "median ms", "ratio", "fastest ms",
             "CPU ms");
  for (const auto& contender : contenders)
    fmt::print("{:<32}{:>12.2f}{:>9.2f}{:>12.2f}{:>12.2f}{}\n", contender.name, median(contender.wall),
               median(contender.wall) / median(peer.wall), *std::ranges::min_element(contender.wall),
               median(contender.cpu), contender.failed ? "  (failed)" : "");
}

std::vector<Contender> contenders() {
  return {{"bluetoothctl devices Paired", {"bluetoothctl", "devices", "Paired"}},
          {"busctl GetManagedObjects",
           {"busctl", "--system", "call", "org.bluez", "/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects"}},
          {"zolvex worker listPaired", {ZOLVEX_PROGRAM, "--zolvex-bluetooth-worker", "listPaired"}}};
}

/// Exit status of the benchmark.
int measure(int runs) {
  auto all = contenders();
  for (auto& contender : all) runOnce(contender);  // warms the caches
  for (auto& contender : all) contender.wall.clear(), contender.cpu.clear();
  for (int run = 0; run < runs; ++run)
    for (auto& contender : all) runOnce(contender);
  print(all);
  return std::ranges::any_of(all, &Contender::failed) ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : usualRuns;

  zolvex::lab::Radio radio;
  for (int i = 1; i <= deviceCount; ++i) {
    const auto address = u"02:5A:00:00:00:%1"_s.arg(i, 2, 10, QChar(u'0'));
    radio.addDevice({.address = address, .name = u"Device %1"_s.arg(i)});
    radio.bond(u"Laptop"_s, address);
  }
  zolvex::lab::PrivateBus bus;
  zolvex::lab::BluezService bluez(radio,
                                  {.computer = u"Laptop"_s, .adapterAddress = radio.adapterAddressFor(u"Laptop"_s)});
  if (!bus.start() || !bluez.start(bus.address())) {
    fmt::print(stderr, "the bus or the daemon did not start: {}\n", bus.errorString().toStdString());
    return EXIT_FAILURE;
  }
  qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toUtf8());

  // The daemon lives on this thread, the measuring on another.
  std::thread measuring([&] {
    const int status = measure(runs);
    QMetaObject::invokeMethod(
        &application, [status] { QCoreApplication::exit(status); }, Qt::QueuedConnection);
  });
  const int status = QCoreApplication::exec();
  measuring.join();
  return status;
}
