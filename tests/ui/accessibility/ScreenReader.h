#pragma once

#include "support/ProgramRun.h"
#include "ui/accessibility/AccessibleTree.h"

#include <QRect>

#include <memory>
#include <optional>
#include <string>

namespace zolvex::test {

/// Somebody who knows of a desktop what a screen reader tells: the bus of screen readers with its registry, and what is
/// found there by the words that are read out.
class ScreenReader {
 public:
  /// Why tests cannot have it; empty when they can.
  static std::string reasonAgainst();

  ~ScreenReader();

  /// Programs that are started afterwards on the same session bus show their controls here. `variables` as for any
  /// program of that desktop.
  [[nodiscard]] bool start(const QString& sessionBus, ProgramRun::Variables variables);

  const AccessibleTree& tree() const { return *tree_; }

  /// The place on the screen of the control of this name, something that can be clicked on.
  std::optional<QRect> control(const QString& name) const;

  /// Whether this is read out: a name, or the description behind it.
  bool tells(const QString& text) const;

  /// One line for each thing that is shown: role, name, description.
  QString described() const;

 private:
  std::optional<ProgramRun> launcher_;
  std::unique_ptr<AccessibleTree> tree_;
};

}  // namespace zolvex::test
