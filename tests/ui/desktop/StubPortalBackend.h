#pragma once

#include "support/ProgramRun.h"
#include "support/ScriptedService.h"

#include <QDBusObjectPath>
#include <QString>
#include <QTemporaryDir>

#include <optional>
#include <string>

namespace zolvex::test {

/// The real xdg-desktop-portal, with a desktop behind it that grants every shortcut. The test presses them.
class StubPortalBackend {
 public:
  /// Why tests cannot have it; empty when they can.
  static std::string reasonAgainst();

  explicit StubPortalBackend(const QString& busAddress);

  /// `variables` as for any program of the desktop. The portal takes Zolvex, which is at `zolvex`, for installed: newer
  /// ones give shortcuts to nothing else.
  void startPortal(ProgramRun::Variables variables, const QString& zolvex);

  /// Whether a program has asked for a shortcut, and been given it.
  [[nodiscard]] bool isBound() const { return isBound_; }
  void press(const QString& shortcut);

 private:
  QDBusMessage answer(const QDBusMessage& call);

  QTemporaryDir directory_;  // tells the portal of this, and of Zolvex
  QDBusObjectPath session_;
  bool isBound_ = false;
  ScriptedService service_;
  std::optional<ProgramRun> portal_;
};

}  // namespace zolvex::test
