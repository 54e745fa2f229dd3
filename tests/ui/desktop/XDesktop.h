#pragma once

#include "platform/session/XvfbServer.h"
#include "support/ProgramRun.h"

#include <QByteArray>
#include <QPoint>
#include <QRect>

#include <chrono>
#include <optional>
#include <string>

namespace zolvex::test {

/// An X server without hardware with what a desktop needs: a window manager, a panel at the top right, and somebody who
/// looks, clicks and types.
class XDesktop {
 public:
  /// Why tests cannot have it; empty when they can.
  static std::string reasonAgainst();

  /// `variables` are what its programs are started with, besides those that lead to the server.
  [[nodiscard]] bool start(ProgramRun::Variables variables = {}, const QStringList& serverOptions = {});
  void startPanel();
  void stopPanel() { panel_.reset(); }

  /// What a program on this desktop is started with besides its own.
  ProgramRun::Variables displayVariables() const;

  void click(const QPoint& position, int button = 1);
  void press(const QString& key);

  /// Whether the popover, or the window of this title, is to be seen, or is not any more, soon.
  [[nodiscard]] bool isShown(const QString& title = QStringLiteral("Zolvex"));
  [[nodiscard]] bool isHidden(std::chrono::milliseconds limit = patience);
  bool isShownNow(const QString& title = QStringLiteral("Zolvex"));

  /// Where the popover is, which is shown.
  QRect popover();

  /// The pixels of a part of the screen, and of the only icon on the panel.
  QByteArray picture(const QRect& area) const;
  QByteArray iconPicture() const;

  /// The middle of that icon.
  static constexpr QPoint icon{1264, 14};
  static constexpr QPoint panel{1100, 14};   ///< Beside the icon.
  static constexpr QPoint inside{1180, 50};  ///< Of the popover at the icon, where nothing happens.
  static constexpr QPoint nowhere{200, 600};

 private:
  ProgramRun::Variables allVariables() const;
  void xdotool(const QStringList& arguments);

  XvfbServer server_;
  ProgramRun::Variables variables_;
  std::optional<ProgramRun> windowManager_;
  std::optional<ProgramRun> panel_;
};

}  // namespace zolvex::test
