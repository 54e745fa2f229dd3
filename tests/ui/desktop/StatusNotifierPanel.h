#pragma once

#include "support/ProgramRun.h"

#include <QPoint>
#include <QString>

#include <optional>
#include <ostream>
#include <string>

namespace zolvex::test {

/// A panel of a desktop that shows status notifiers and nothing else, at the top, a fifth of the screen wide.
class StatusNotifierPanel {
 public:
  enum class Kind { xfce, lxqt };
  friend void PrintTo(Kind kind, std::ostream* out) { *out << (kind == Kind::xfce ? "xfce" : "lxqt"); }

  explicit StatusNotifierPanel(Kind kind) : kind_(kind) {}
  ~StatusNotifierPanel() { stop(); }

  /// Why tests cannot have it; empty when they can.
  std::string reasonAgainst() const;

  /// `variables` as for any program of the desktop, with its session bus and XDG_CONFIG_HOME, where its settings go.
  void start(const ProgramRun::Variables& variables);

  /// Asks it to end, unless it has, and waits for that.
  void stop();

  /// The middle of the only icon.
  static constexpr QPoint icon{1038, 14};

 private:
  void startXfce(const QString& configuration, const ProgramRun::Variables& variables);
  void startLxqt(const QString& configuration, const ProgramRun::Variables& variables);

  Kind kind_;
  std::optional<ProgramRun> settings_;  // a service of Xfce
  std::optional<ProgramRun> panel_;
};

}  // namespace zolvex::test
