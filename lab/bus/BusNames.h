#pragma once

#include <QString>

namespace zolvex::lab {

/// Of the D-Bus specification, what more than one service uses.
inline const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
inline const QString invalidArguments = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");

}  // namespace zolvex::lab
