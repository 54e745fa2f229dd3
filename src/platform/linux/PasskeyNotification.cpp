#include "platform/linux/PasskeyNotification.h"

#include "platform/linux/SdBus.h"

#include <cstdint>
#include <thread>
#include <utility>

namespace zolvex {

namespace {

void notify(const std::string& title, const std::string& text) {
  sd_bus* opened = nullptr;
  if (sd_bus_open_user(&opened) < 0) return;
  const SdBusHandle bus(opened);
  constexpr auto service = "org.freedesktop.Notifications";
  constexpr std::uint32_t replacesNothing = 0;
  constexpr int nothing = 0;
  constexpr std::int32_t usualTime = -1;
  sd_bus_call_method(bus.get(), service, "/org/freedesktop/Notifications", service, "Notify", nullptr, nullptr,
                     "susssasa{sv}i", "Zolvex", replacesNothing, "", title.c_str(), text.c_str(), nothing, nothing,
                     usualTime);
}

}  // namespace

PasskeyNotification::~PasskeyNotification() {
  if (sent_.valid()) sent_.wait_for(sendLimit);
}

void PasskeyNotification::show(const std::string& deviceName, const std::string& passkey) {
  std::promise<void> done;
  sent_ = done.get_future();
  std::thread([done = std::move(done), title = "Pairing " + deviceName,
               text = "Type " + passkey + " on the device, then press Return."]() mutable {
    notify(title, text);
    done.set_value();
  }).detach();
}

}  // namespace zolvex
