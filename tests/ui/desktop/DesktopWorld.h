#pragma once

#include "app/ZolvexProcess.h"
#include "platform/session/XvfbServer.h"

#include <QPoint>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace zolvex::test {

/// A user's desktop on an X server without hardware: a window manager, a panel at the top right, a session bus, and
/// somebody who clicks and types.
class DesktopWorld {
 public:
  /// Why tests cannot have it; empty when they can.
  static std::string reasonAgainst();

  [[nodiscard]] bool start();
  void startPanel();
  void stopPanel() { panel_.reset(); }

  /// Starts zolvex and waits until it is on the session bus.
  [[nodiscard]] bool startZolvex();
  ProgramRun::Variables variables() const;

  void click(const QPoint& position, int button = 1);
  void press(const QString& key);

  /// Whether the popover is to be seen, or is not any more, soon.
  [[nodiscard]] bool isShown();
  [[nodiscard]] bool isHidden();
  bool isShownNow();

  /// The middle of the only icon on the panel.
  static constexpr QPoint icon{1264, 14};
  static constexpr QPoint nowhere{200, 600};

  ZolvexProcess computer;

 private:
  void xdotool(const QStringList& arguments);

  XvfbServer server_;
  std::optional<ProgramRun> windowManager_;
  std::optional<ProgramRun> panel_;
};

}  // namespace zolvex::test
