#pragma once

#include <QString>

/// The names of systemd-logind on the system bus.
namespace zolvex::logind {

inline const auto service = QStringLiteral("org.freedesktop.login1");
inline const auto managerPath = QStringLiteral("/org/freedesktop/login1");
inline const auto managerInterface = QStringLiteral("org.freedesktop.login1.Manager");
inline const auto sessionInterface = QStringLiteral("org.freedesktop.login1.Session");

}  // namespace zolvex::logind
