#pragma once

#include "platform/linux/BluezBus.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zolvex {

/// Notes what BlueZ announces while it lives: for one operation that has to see an announcement which may come before
/// the answer to its call. It hears only while the bus handles events. What it hears changes it, so it is never a
/// const object. One thread.
class BluezWatch {
 public:
  explicit BluezWatch(const BluezBus& bus);
  BluezWatch(const BluezWatch&) = delete;

  /// Also notes the property changes of this device.
  void followDevice(const std::string& path);

  /// BlueZ went away. What comes after that is another life of BlueZ.
  bool isOver() const { return isOver_; }

  /// Asks the bus whether BlueZ is still there. False also when the bus is gone, of which nothing is announced.
  bool isStillThere() const { return !isOver_ && bus_.owner() == owner_; }

  /// Whether a device, or an adapter, was withdrawn.
  bool wasRemoved(const std::string& path) const { return removed_.contains(path); }

  /// Whether an object was announced since the last call of this.
  bool takeArrival() { return std::exchange(arrived_, false); }

  /// Whether a flag of the followed device was announced to have become true, and not to have become false since.
  bool becameTrue(const char* flag) const { return changed_.flag(flag); }

  /// Whether a link to the followed device was announced to have ended. One that was very short is announced by its end
  /// alone.
  bool hasLostLink() const { return hasLostLink_; }

 private:
  using Handler = void (BluezWatch::*)(sd_bus_message* announcement);

  template <Handler handler>
  void match(const std::string& rule);

  void onInterfacesAdded(sd_bus_message* announcement);
  void onInterfacesRemoved(sd_bus_message* announcement);
  void onPropertiesChanged(sd_bus_message* announcement);
  void onOwnerChanged(sd_bus_message* announcement);

  const BluezBus& bus_;
  const std::string owner_;  ///< Unique bus name of the BlueZ that is watched.
  bool isOver_ = false;
  bool arrived_ = false;
  std::set<std::string> removed_;
  BluezProperties changed_;
  bool hasLostLink_ = false;
  std::vector<SdBusSlot> matches_;
};

}  // namespace zolvex
