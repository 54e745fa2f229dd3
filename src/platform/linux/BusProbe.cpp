#include "platform/linux/BusProbe.h"

#include "platform/linux/SdBus.h"

#include <cstdint>
#include <utility>

namespace zolvex {

namespace {

using Clock = std::chrono::steady_clock;

/// On its way to the bus; null when it cannot even set out.
SdBusHandle setOut(const std::string& address) {
  sd_bus* created = nullptr;
  if (sd_bus_new(&created) < 0) return nullptr;
  SdBusHandle bus(created);
  const bool isOnItsWay = sd_bus_set_address(bus.get(), address.c_str()) >= 0 &&
                          sd_bus_set_bus_client(bus.get(), 1) >= 0 && sd_bus_start(bus.get()) >= 0;
  return isOnItsWay ? std::move(bus) : nullptr;
}

}  // namespace

BusState probeBus(const std::string& address, std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  const auto bus = setOut(address);
  while (bus) {
    const int processed = sd_bus_process(bus.get(), nullptr);
    if (processed < 0) return BusState::missing;
    if (sd_bus_is_ready(bus.get()) > 0) return BusState::answering;
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()).count();
    if (left <= 0) return BusState::silent;
    if (processed == 0) sd_bus_wait(bus.get(), static_cast<std::uint64_t>(left));
  }
  return BusState::missing;
}

bool busAnswers(const std::string& address, std::chrono::milliseconds limit) {
  return probeBus(address, limit) == BusState::answering;
}

}  // namespace zolvex
