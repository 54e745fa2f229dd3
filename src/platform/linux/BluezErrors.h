#pragma once

#include <QDBusMessage>

#include <cstdint>

namespace zolvex {

/// What the answer to a call to BlueZ means. An answer is a reply, an error, or a message of type InvalidMessage when
/// none came in time.

bool isSuccess(const QDBusMessage& answer);

/// The ioReturn number for it.
std::int32_t ioReturnOf(const QDBusMessage& answer);

/// The same operation runs already, started by somebody else.
bool isInProgress(const QDBusMessage& answer);

/// BlueZ does not know the device.
bool isDoesNotExist(const QDBusMessage& answer);

/// The two sides did not come to terms with the way of pairing that was offered.
bool isAuthenticationRefused(const QDBusMessage& answer);

bool isAlreadyExists(const QDBusMessage& answer);
bool isAlreadyConnected(const QDBusMessage& answer);

}  // namespace zolvex
