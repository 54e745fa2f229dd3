#include "ui/ZolvexNotifier.h"

#include "core/Log.h"
#include "core/Text.h"
#include "core/Uuid.h"

#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("Notifications");

void post(NotificationCenter& center, const std::string& title) {
  center.post("zolvex." + randomUuid(), title, [](const NotificationCenter::Error& error) {
    if (error) logger.error("Notification delivery failed: {}", *error);
  });
}

void requestAuthorizationAndPost(NotificationCenter& center, std::string title) {
  center.requestAuthorization(
      [&center, title = std::move(title)](bool granted, const NotificationCenter::Error& error) {
        if (error)
          logger.error("Notification authorization failed: {}", *error);
        else if (granted)
          post(center, title);
      });
}

}  // namespace

ZolvexNotifier::ZolvexNotifier(NotificationCenter& center, const BluetoothPeripheralStore& bluetoothStore,
                               const NetworkDeviceStore& networkStore, const LocalHostName& hostName)
    : center_(center), bluetoothStore_(bluetoothStore), networkStore_(networkStore), hostName_(hostName) {}

void ZolvexNotifier::notifyDevicesMovedHere() {
  deliver(deviceLabel() + " moved to " + localName());
}

void ZolvexNotifier::notifySomeDevicesMovedHere() {
  deliver("Some devices moved to " + localName());
}

void ZolvexNotifier::notifyDevicesMovedToPeer() {
  deliver(deviceLabel() + " moved to " + peerName());
}

std::string ZolvexNotifier::deviceLabel() const {
  const auto& devices = bluetoothStore_.peripherals();
  if (devices.size() != 1) return "Devices";
  const auto name = lowercased(devices.front().name);
  if (name.find("trackpad") != std::string::npos) return "Trackpad";
  if (name.find("mouse") != std::string::npos) return "Mouse";
  if (name.find("keyboard") != std::string::npos) return "Keyboard";
  return devices.front().name;
}

std::string ZolvexNotifier::localName() const {
  auto name = hostName_.localizedName();
  if (!name) name = hostName_.name();
  const auto shown = trimmed(name ? std::string_view(*name) : std::string_view());
  return shown.empty() ? "this Mac" : std::string(shown);
}

std::string ZolvexNotifier::peerName() const {
  const auto* peer = networkStore_.registeredPeer();
  return peer ? peer->name : "the other Mac";
}

void ZolvexNotifier::deliver(std::string title) {
  using enum NotificationCenter::AuthorizationStatus;
  center_.getAuthorizationStatus([&center = center_, title = std::move(title)](auto status) {
    switch (status) {
      case notDetermined:
        return requestAuthorizationAndPost(center, title);
      case authorized:
      case provisional:
      case ephemeral:
        return post(center, title);
      case denied:
        return logger.info("Notification skipped because authorization was denied");
      case unknown:
        return logger.info("Notification skipped because authorization status is unknown");
    }
    logger.info("Notification skipped because authorization status is unknown");
  });
}

}  // namespace zolvex
