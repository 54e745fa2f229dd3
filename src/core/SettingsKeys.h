#pragma once

#include <string_view>

/// The keys of all persisted settings.
namespace zolvex::settings {

inline constexpr std::string_view autoRelease = "autoRelease";                  // bool, default true
inline constexpr std::string_view autoReleaseHours = "autoReleaseHours";        // hours, default -1.0: when locked
inline constexpr std::string_view autoConnect = "autoConnect";                  // bool, default true
inline constexpr std::string_view transportMode = "transportMode";              // text, default "bluetooth"
inline constexpr std::string_view globalHotkeyEnabled = "globalHotkeyEnabled";  // bool, default true
inline constexpr std::string_view managedDeviceAddresses = "managedDeviceAddresses";  // array of text, no default
inline constexpr std::string_view deviceNames = "deviceNames";                        // dictionary, no default
inline constexpr std::string_view networkDevices = "networkDevices";                  // JSON text, no default
inline constexpr std::string_view peerIdentityID = "peerIdentityID";                  // text, made at first use
// bool, no default; stored once launch at login was switched on
inline constexpr std::string_view didConfigureLaunchAtLoginDefault = "didConfigureLaunchAtLoginDefault";
// bool, no default; stored at the first start with windows, which open then
inline constexpr std::string_view didOpenAtFirstStart = "didOpenAtFirstStart";

/// Value of `transportMode` that selects Bluetooth LE; any other text selects Bonjour.
inline constexpr std::string_view transportBluetooth = "bluetooth";
inline constexpr std::string_view transportBonjour = "bonjour";

}  // namespace zolvex::settings
