#include "platform/linux/PasskeyNotification.h"

#include "platform/linux/SdBus.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace zolvex {

namespace {

struct Notification {
  std::string title;
  std::string text;
};

void send(const Notification& notification) {
  sd_bus* opened = nullptr;
  if (sd_bus_open_user(&opened) < 0) return;
  const SdBusHandle bus(opened);
  constexpr auto service = "org.freedesktop.Notifications";
  constexpr std::uint32_t replacesNothing = 0;
  constexpr int nothing = 0;
  constexpr std::int32_t usualTime = -1;
  sd_bus_call_method(bus.get(), service, "/org/freedesktop/Notifications", service, "Notify", nullptr, nullptr,
                     "susssasa{sv}i", "Zolvex", replacesNothing, "", notification.title.c_str(),
                     notification.text.c_str(), nothing, nothing, usualTime);
}

}  // namespace

/// What is to be sent, shared with the thread that sends it. Lives as long as either of the two.
struct PasskeyNotification::Outbox {
  std::mutex mutex;
  std::condition_variable becameIdle;
  std::optional<Notification> next;
  bool isSending = false;

  /// None ends the thread.
  std::optional<Notification> take() {
    const std::lock_guard lock(mutex);
    isSending = next.has_value();
    if (!isSending) becameIdle.notify_all();
    return std::exchange(next, std::nullopt);
  }
};

PasskeyNotification::PasskeyNotification() : outbox_(std::make_shared<Outbox>()) {}

PasskeyNotification::~PasskeyNotification() {
  std::unique_lock lock(outbox_->mutex);
  outbox_->becameIdle.wait_for(lock, sendLimit, [this] { return !outbox_->isSending; });
  outbox_->next.reset();
}

void PasskeyNotification::show(const std::string& deviceName, const std::string& passkey) {
  const std::lock_guard lock(outbox_->mutex);
  outbox_->next = {"Pairing " + deviceName, "Type " + passkey + " on the device, then press Return."};
  if (std::exchange(outbox_->isSending, true)) return;
  try {
    std::thread([outbox = outbox_] {
      while (const auto notification = outbox->take()) send(*notification);
    }).detach();
  } catch (const std::system_error&) {
    outbox_->isSending = false;  // no thread to be had now, perhaps for the next code
  }
}

}  // namespace zolvex
