#pragma once

#include <QString>

namespace zolvex {

/// Tells the user what to type on the device that is being paired, by a desktop notification; nothing happens where
/// there is no session bus or no notification service. Never blocks: it works in a thread of its own, which may outlive
/// everything but the process.
void showPasskeyNotification(const QString& deviceName, const QString& passkey);

}  // namespace zolvex
