#pragma once

#include "app/ZolvexProcess.h"
#include "ui/desktop/XDesktop.h"

namespace zolvex::test {

/// A user's desktop with one zolvex on it, and a session bus.
class DesktopWorld : public XDesktop {
 public:
  [[nodiscard]] bool start() { return XDesktop::start(computer.variables()) && computer.sessionBus.start(); }

  ProgramRun::Variables variables() const {
    auto all = computer.variables();
    for (const auto& variable : displayVariables()) all.push_back(variable);
    return all;
  }

  /// Starts zolvex and waits until it is on the session bus.
  [[nodiscard]] bool startZolvex() {
    computer.zolvex.emplace(QStringLiteral(ZOLVEX), QStringList{}, variables());
    return computer.zolvex->complains("connected to the session bus") && computer.isAnswering();
  }

  ZolvexProcess computer;
};

}  // namespace zolvex::test
