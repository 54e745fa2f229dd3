#pragma once

#include "platform/linux/SdBus.h"

#include <cstdint>
#include <string>

namespace zolvex {

/// How a call to BlueZ ended: with a reply, with an error, or without any answer in time.
struct BluezAnswer {
  SdBusMessage reply = nullptr;
  std::string errorName = {};
  std::string errorText = {};

  /// Of a message that answers a call.
  static BluezAnswer fromMessage(sd_bus_message* message);
  static BluezAnswer fromError(const sd_bus_error& error);

  bool isSuccess() const { return reply != nullptr; }

  /// BlueZ did not answer, which says nothing about what it has done.
  bool isMissing() const;

  /// The same operation runs already, started by somebody else.
  bool isInProgress() const { return errorName == "org.bluez.Error.InProgress"; }

  /// BlueZ does not know the device.
  bool isDoesNotExist() const { return errorName == "org.bluez.Error.DoesNotExist"; }

  bool isAlreadyExists() const { return errorName == "org.bluez.Error.AlreadyExists"; }
  bool isAlreadyConnected() const { return errorName == "org.bluez.Error.AlreadyConnected"; }

  /// The two sides did not come to terms with the way of pairing that was offered.
  bool isAuthenticationRefused() const {
    return errorName == "org.bluez.Error.AuthenticationFailed" || errorName == "org.bluez.Error.AuthenticationRejected";
  }

  /// The ioReturn number for it.
  std::int32_t ioReturnStatus() const;
};

}  // namespace zolvex
