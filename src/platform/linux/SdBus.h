#pragma once

#include <systemd/sd-bus.h>

#include <memory>

namespace zolvex {

/// Owners of sd-bus objects.

struct SdBusClose {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
struct SdBusMessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
struct SdBusSlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

using SdBusHandle = std::unique_ptr<sd_bus, SdBusClose>;
using SdBusMessage = std::unique_ptr<sd_bus_message, SdBusMessageUnref>;

/// A match, an object or a pending call; destroying it withdraws it.
using SdBusSlot = std::unique_ptr<sd_bus_slot, SdBusSlotUnref>;

}  // namespace zolvex
