#pragma once

#include "platform/linux/BluezBus.h"
#include "platform/linux/PasskeyNotification.h"

#include <string>

namespace zolvex {

/// Answers BlueZ's questions while one device is being paired, and only those about that device; everything else is
/// refused. It is not the default agent: BlueZ asks it because the pairing is asked for on the same connection.
/// Registered from registerAtDaemon() until its end. One thread.
class BluezPairingAgent {
 public:
  enum class Capability {
    noInputNoOutput,  ///< Pairs without asking anybody: the user may have no other keyboard to answer with.
    keyboardDisplay,  ///< Shows what has to be typed on the device.
  };

  BluezPairingAgent(const BluezBus& bus, const BluezDevice& device, Capability capability);
  ~BluezPairingAgent();
  BluezPairingAgent(const BluezPairingAgent&) = delete;

  /// The answer of BlueZ.
  BluezAnswer registerAtDaemon();

 private:
  int answer(sd_bus_message* question);
  bool concernsUs(sd_bus_message* question) const;
  void show(const std::string& passkey);

  const BluezBus& bus_;
  const BluezDevice device_;
  const Capability capability_;
  std::string daemon_;  ///< Unique name of the one that may ask.
  SdBusSlot object_;
  std::string shown_;
  PasskeyNotification notification_;
};

}  // namespace zolvex
