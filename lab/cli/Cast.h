#pragma once

#include <QString>

#include <chrono>

namespace zolvex::lab {

/// The two computers that the plays are about.
inline const QString studio = QStringLiteral("Studio");
inline const QString laptop = QStringLiteral("Laptop");

/// How long they may take to find each other.
inline constexpr std::chrono::seconds findLimit{30};

}  // namespace zolvex::lab
