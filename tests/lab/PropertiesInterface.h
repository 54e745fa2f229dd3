#pragma once

#include <QString>

namespace zolvex::lab {

inline const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

}  // namespace zolvex::lab
