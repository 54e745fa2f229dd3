#include "core/Log.h"
#include "peer/BareClient.h"
#include "peer/WorkQueue.h"
#include "peer/bonjour/NetworkThread.h"
#include "peer/bonjour/TcpListener.h"
#include "peer/bonjour/TcpRequest.h"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace zolvex;
using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr int usualRuns = 3000;
constexpr int warmUpRuns = 200;

/// One computer: a main thread and a network thread.
struct Computer {
  bench::WorkQueue mainQueue;
  NetworkThread network;
};

/// The answering side, which answers from its main thread at once. Returns the port.
std::uint16_t listenOn(Computer& computer, std::shared_ptr<TcpListener>& listener) {
  std::promise<std::uint16_t> ready;
  TcpListener::Events events;
  events.ready = [&ready](std::uint16_t port) { ready.set_value(port); };
  events.failed = [] { std::abort(); };
  events.received = [](const std::string&, const std::shared_ptr<ReplyChannel>& channel) {
    channel->reply(DeviceCommand::operationSuccess);
  };
  listener = std::make_shared<TcpListener>(computer.network, computer.mainQueue, std::move(events));
  if (listener->open()) std::abort();
  listener->start();
  return ready.get_future().get();
}

/// From the main thread of the asking computer back to it. None when there was no right answer.
std::optional<Microseconds> timeRequest(Computer& computer, std::uint16_t port) {
  std::promise<std::optional<Microseconds>> done;
  computer.mainQueue.async([&] {
    const auto begin = Clock::now();
    TcpRequest::send(
        computer.network, computer.mainQueue, {"127.0.0.1", port}, DeviceCommand::healthCheck,
        [&done, begin](const PeerReply& reply) {
          done.set_value(reply.succeeded() ? std::optional<Microseconds>(Clock::now() - begin) : std::nullopt);
        });
  });
  return done.get_future().get();
}

std::optional<Microseconds> timeBareSocket(std::uint16_t port) {
  static const auto frame = frameOf(DeviceCommand::healthCheck);
  static const auto expected = frameOf(DeviceCommand::operationSuccess);
  const auto begin = Clock::now();
  if (!bench::askWithBareSocket(port, frame, expected)) return std::nullopt;
  return Clock::now() - begin;
}

double quantile(std::vector<Microseconds> times, double share) {
  const auto nth = times.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(times.size() - 1));
  std::nth_element(times.begin(), nth, times.end());
  return nth->count();
}

void printRow(const char* name, const std::vector<Microseconds>& times, const std::vector<Microseconds>& peer) {
  fmt::print("{:<44}{:>12.1f}{:>9.2f}{:>12.1f}{:>12.1f}\n", name, quantile(times, 0.5),
             quantile(times, 0.5) / quantile(peer, 0.5), quantile(times, 0.0), quantile(times, 0.95));
}

}  // namespace

/// bench-peer-round-trip [RUNS]
int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : usualRuns;
  setLogSink(nullptr);  // a terminal would be measured otherwise
  Computer laptop;
  Computer studio;
  std::shared_ptr<TcpListener> listener;
  const auto port = listenOn(laptop, listener);

  std::vector<Microseconds> bare;
  std::vector<Microseconds> ours;
  for (int run = -warmUpRuns; run < runs; ++run) {
    const auto bareTime = timeBareSocket(port);
    const auto ourTime = timeRequest(studio, port);
    if (!bareTime || !ourTime) {
      fmt::print(stderr, "a health check was not answered\n");
      return EXIT_FAILURE;
    }
    if (run < 0) continue;
    bare.push_back(*bareTime);
    ours.push_back(*ourTime);
  }
  fmt::print("{:<44}{:>12}{:>9}{:>12}{:>12}\n", "HEALTH_CHECK over loopback TCP", "median us", "ratio", "fastest us",
             "95 % us");
  printRow("bare socket: connect, send, close, receive", bare, bare);
  printRow("Zolvex request, main thread to main thread", ours, bare);
  listener->cancel();
}
