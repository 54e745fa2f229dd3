#pragma once

#include <QLatin1StringView>

/// Names of the control interface on the session bus. quenmar.zolvex.app.Control.xml describes its members.
namespace zolvex::control {

inline constexpr QLatin1StringView serviceName{"quenmar.zolvex.app"};
inline constexpr QLatin1StringView objectPath{"/quenmar/zolvex/app"};
inline constexpr QLatin1StringView interfaceName{"quenmar.zolvex.app.Control"};
inline constexpr QLatin1StringView applicationInterface{"org.freedesktop.Application"};  // the desktop's
inline constexpr QLatin1StringView propertiesInterface{"org.freedesktop.DBus.Properties"};

/// Errors of its methods.
namespace error {
inline constexpr QLatin1StringView busy{"quenmar.zolvex.app.Error.Busy"};                        // a flow is running
inline constexpr QLatin1StringView incompleteSetup{"quenmar.zolvex.app.Error.IncompleteSetup"};  // as the text says
inline constexpr QLatin1StringView unknownDevice{"quenmar.zolvex.app.Error.UnknownDevice"};
inline constexpr QLatin1StringView unknownPeer{"quenmar.zolvex.app.Error.UnknownPeer"};
inline constexpr QLatin1StringView noPeer{"quenmar.zolvex.app.Error.NoPeer"};
inline constexpr QLatin1StringView unknownSetting{"quenmar.zolvex.app.Error.UnknownSetting"};
inline constexpr QLatin1StringView invalidValue{"quenmar.zolvex.app.Error.InvalidValue"};
inline constexpr QLatin1StringView failed{"quenmar.zolvex.app.Error.Failed"};  // tried, as the text says
}  // namespace error

}  // namespace zolvex::control
