#include "platform/linux/BluezBus.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <utility>

namespace zolvex {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";

std::uint64_t microseconds(Seconds duration) {
  const auto rounded = std::chrono::ceil<std::chrono::microseconds>(duration);
  return static_cast<std::uint64_t>(std::max<std::int64_t>(rounded.count(), 1));
}

int storeAnswer(sd_bus_message* message, void* destination, sd_bus_error*) {
  *static_cast<std::optional<BluezAnswer>*>(destination) = BluezAnswer::fromMessage(message);
  return 0;
}

}  // namespace

BluezBus::BluezBus(SdBusHandle bus, std::string service) : bus_(std::move(bus)), service_(std::move(service)) {
  if (bus_) waitUntil([this] { return sd_bus_is_ready(handle()) > 0; }, quickCallLimit);
}

SdBusHandle BluezBus::openSystemBus() {
  sd_bus* bus = nullptr;
  return sd_bus_open_system(&bus) < 0 ? nullptr : SdBusHandle(bus);
}

BluezAnswer BluezBus::call(const SdBusMessage& message, Seconds limit) const {
  if (!message || sd_bus_is_ready(handle()) <= 0) return {.errorName = SD_BUS_ERROR_DISCONNECTED};
  if (limit <= Seconds(0)) return {.errorName = SD_BUS_ERROR_TIMEOUT};
  sd_bus_error error{};  // SD_BUS_ERROR_NULL, which is C only
  sd_bus_message* reply = nullptr;
  const int result = sd_bus_call(handle(), message.get(), microseconds(limit), &error, &reply);
  auto answer = result < 0 ? BluezAnswer::fromError(error) : BluezAnswer{.reply = SdBusMessage(reply)};
  sd_bus_error_free(&error);
  return answer;
}

BluezAnswer BluezBus::callWithEvents(const SdBusMessage& message, Seconds limit,
                                     const std::function<bool()>& isEnough) const {
  std::optional<BluezAnswer> answer;
  sd_bus_slot* slot = nullptr;
  if (!message || sd_bus_is_ready(handle()) <= 0 ||
      sd_bus_call_async(handle(), &slot, message.get(), storeAnswer, &answer, microseconds(limit)) < 0)
    return {.errorName = SD_BUS_ERROR_DISCONNECTED};
  const SdBusSlot pending(slot);
  waitUntil([&] { return answer || isEnough(); }, limit);
  return answer ? std::move(*answer) : BluezAnswer{};
}

void BluezBus::tell(const SdBusMessage& message) const {
  if (!message) return;
  sd_bus_message_set_expect_reply(message.get(), 0);
  sd_bus_send(handle(), message.get(), nullptr);
}

BluezValue BluezBus::deviceProperty(const std::string& path, const char* name) const {
  const auto answer = call(message(path, propertiesInterface, "Get", "ss", bluez::deviceInterface, name));
  return answer.isSuccess() ? readBluezValue(answer.reply.get()) : BluezValue{};
}

void BluezBus::setDeviceFlag(const std::string& path, const char* name, bool value) const {
  call(message(path, propertiesInterface, "Set", "ssv", bluez::deviceInterface, name, "b", static_cast<int>(value)));
}

BluezObjects BluezBus::objects(Seconds limit) const {
  return BluezObjects::fromReply(call(objectsCall(), limit).reply.get());
}

std::string BluezBus::owner() const {
  const auto question =
      newCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner");
  if (question) sd_bus_message_append(question.get(), "s", service_.c_str());
  const auto answer = call(question);
  const char* name = nullptr;
  const bool isKnown = answer.isSuccess() && sd_bus_message_read(answer.reply.get(), "s", &name) > 0;
  return isKnown ? name : "";
}

bool BluezBus::waitUntil(const std::function<bool()>& isEnough, Seconds limit) const {
  const auto begin = Clock::now();
  for (;;) {
    const int handled = bus_ ? sd_bus_process(handle(), nullptr) : -ENOTCONN;
    const Seconds left = limit - (Clock::now() - begin);
    if (handled > 0 && left > Seconds(0)) continue;
    if (isEnough()) return true;
    if (handled < 0 || left <= Seconds(0)) return false;
    sd_bus_wait(handle(), microseconds(left));
  }
}

SdBusMessage BluezBus::newCall(const char* service, const char* path, const char* interface, const char* member) const {
  sd_bus_message* call = nullptr;
  if (!bus_ || sd_bus_message_new_method_call(handle(), &call, service, path, interface, member) < 0) return nullptr;
  return SdBusMessage(call);
}

}  // namespace zolvex
