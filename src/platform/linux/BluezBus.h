#pragma once

#include "core/Time.h"
#include "platform/linux/BluezAnswer.h"
#include "platform/linux/BluezObjects.h"

#include <functional>
#include <string>

namespace zolvex {

namespace bluez {
inline constexpr auto adapterInterface = "org.bluez.Adapter1";
inline constexpr auto deviceInterface = "org.bluez.Device1";
inline constexpr auto agentManagerInterface = "org.bluez.AgentManager1";
inline constexpr auto rootPath = "/org/bluez";
}  // namespace bluez

/// Blocking calls to BlueZ. Every call ends at its limit at the latest, and at once when BlueZ or the bus goes away. It
/// ends with an error then, as it does when there is no bus and no BlueZ at all.
/// On sd-bus: a worker lives for a few milliseconds, and needs neither the threads nor the start-up time of QtDBus.
/// Owned by the controller. One thread.
class BluezBus {
 public:
  /// Of calls that BlueZ answers from memory, and until the bus has taken us in.
  static constexpr Seconds quickCallLimit{5.0};

  /// `bus` may be none; `service` is the bus name of BlueZ.
  BluezBus(SdBusHandle bus, std::string service);

  /// Connects to the system bus, wherever DBUS_SYSTEM_BUS_ADDRESS says that it is; none when that fails.
  static SdBusHandle openSystemBus();

  /// None when the bus is gone.
  sd_bus* handle() const { return bus_.get(); }

  /// `values` are of the D-Bus `types`, as sd_bus_message_append() takes them.
  template <class... Values>
  SdBusMessage message(const std::string& path, const char* interface, const char* member, const char* types = "",
                       Values... values) const {
    auto call = newCall(service_.c_str(), path.c_str(), interface, member);
    if (call && *types) sd_bus_message_append(call.get(), types, values...);
    return call;
  }

  /// Handles nothing else meanwhile. Without any time left it is not made.
  BluezAnswer call(const SdBusMessage& message, Seconds limit = quickCallLimit) const;

  /// Handles what arrives meanwhile, so that announcements are heard and BlueZ can ask us back. It also ends, without
  /// an answer, when `isEnough` holds.
  BluezAnswer callWithEvents(const SdBusMessage& message, Seconds limit, const std::function<bool()>& isEnough) const;

  /// Sends a call of which nobody wants to know the outcome.
  void tell(const SdBusMessage& message) const;

  /// A property of a device, read anew; std::monostate when it cannot be read.
  BluezValue deviceProperty(const std::string& path, const char* name) const;
  void setDeviceFlag(const std::string& path, const char* name, bool value) const;

  /// Empty when BlueZ cannot say.
  BluezObjects objects(Seconds limit = quickCallLimit) const;

  /// The call that asks for them, for BluezObjects::fromReply().
  SdBusMessage objectsCall() const { return message("/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects"); }

  /// The unique bus name behind the name of BlueZ; empty when there is none.
  std::string owner() const;

  /// Handles what arrives until `isEnough` holds, or until `limit` has passed, or until the bus is gone. It looks
  /// whenever all that has arrived is handled, so that many announcements at once are one reason to look. Whether it
  /// holds.
  bool waitUntil(const std::function<bool()>& isEnough, Seconds limit) const;

 private:
  SdBusMessage newCall(const char* service, const char* path, const char* interface, const char* member) const;

  const SdBusHandle bus_;
  const std::string service_;
};

}  // namespace zolvex
