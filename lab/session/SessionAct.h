#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace zolvex::lab {

/// What a user, or the lid, does to a computer.
enum class SessionAct { lock, unlock, sleep, wake, displayOff, displayOn };

/// By the names "lock", "unlock", "sleep", "wake", "display-off" and "display-on".
std::optional<SessionAct> sessionActOf(const QString& name);
QStringList sessionActNames();

/// How it ended.
struct ActOutcome {
  bool isDone = false;
  QString text;  ///< Without a full stop, for example "Laptop is locked".
};

/// Called once, at the end of the act.
using ActListener = std::function<void(const ActOutcome&)>;

}  // namespace zolvex::lab
