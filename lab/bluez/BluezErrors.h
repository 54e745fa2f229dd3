#pragma once

#include "lab/bus/BusCall.h"

/// The error names and texts of the real daemon.
namespace zolvex::lab::bluezError {

struct Error {
  const char* name;
  const char* text;
};

inline constexpr Error doesNotExist{"org.bluez.Error.DoesNotExist", "Does Not Exist"};
inline constexpr Error alreadyExists{"org.bluez.Error.AlreadyExists", "Already Exists"};
inline constexpr Error pairingInProgress{"org.bluez.Error.InProgress", "In Progress"};
inline constexpr Error inProgress{"org.bluez.Error.InProgress", "Operation already in progress"};
inline constexpr Error connectBusy{"org.bluez.Error.InProgress", "br-connection-busy"};
inline constexpr Error notReady{"org.bluez.Error.NotReady", "Resource Not Ready"};
inline constexpr Error invalidArguments{"org.bluez.Error.InvalidArguments", "Invalid arguments in method call"};
inline constexpr Error wrongType{"org.freedesktop.DBus.Error.InvalidSignature", "Expected another type"};
inline constexpr Error noDiscovery{"org.bluez.Error.Failed", "No discovery started"};
inline constexpr Error createSocket{"org.bluez.Error.Failed", "br-connection-create-socket"};
inline constexpr Error pageTimeout{"org.bluez.Error.Failed", "br-connection-page-timeout"};
inline constexpr Error noProfile{"org.bluez.Error.NotAvailable", "br-connection-profile-unavailable"};
inline constexpr Error blocked{"org.bluez.Error.Failed", "Blocked through rfkill"};
inline constexpr Error attemptFailed{"org.bluez.Error.ConnectionAttemptFailed", "Page Timeout"};
inline constexpr Error authenticationFailed{"org.bluez.Error.AuthenticationFailed", "Authentication Failed"};
inline constexpr Error authenticationCanceled{"org.bluez.Error.AuthenticationCanceled", "Authentication Canceled"};
inline constexpr Error authenticationRejected{"org.bluez.Error.AuthenticationRejected", "Authentication Rejected"};

}  // namespace zolvex::lab::bluezError

namespace zolvex::lab {

void fail(const BusCall& call, const bluezError::Error& error);

}  // namespace zolvex::lab
