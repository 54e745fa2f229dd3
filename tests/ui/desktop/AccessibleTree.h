#pragma once

#include "support/ProgramRun.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QRect>
#include <QString>
#include <QVariantList>

#include <functional>
#include <optional>
#include <vector>

namespace zolvex::test {

/// What is to be seen on a desktop, as a screen reader gets it: the accessibility bus with a registry of its own, and
/// controls found by the name that is read to the user.
class AccessibleTree {
 public:
  /// Why tests cannot have it; empty when they can.
  static std::string reasonAgainst();

  ~AccessibleTree();

  /// Programs that are started afterwards on the same session bus show their controls here. `variables` as for any
  /// program of that desktop.
  [[nodiscard]] bool start(const QString& sessionBus, const ProgramRun::Variables& variables);

  /// The place on the screen of the control that is shown with this name, something that can be clicked on.
  std::optional<QRect> control(const QString& name) const;

  /// Whether this is read out: the name of something that is shown, or the description behind the name.
  bool tells(const QString& text) const;

  /// One line for each thing that is shown: role, name, description, place.
  QString described() const;

 private:
  struct Node {
    QString service;
    QString path;
  };

  QVariantList call(const Node& node, const QString& interface, const QString& method,
                    const QVariantList& arguments = {}) const;
  std::vector<Node> childrenOf(const Node& node) const;
  QString textOf(const Node& node, const QString& property) const;
  QString roleOf(const Node& node) const;
  bool isShowing(const Node& node) const;
  QRect placeOf(const Node& node) const;

  static Node root();

  /// False from `visit` ends the walk, and then it is false, too.
  bool walk(const Node& node, const std::function<bool(const Node&)>& visit) const;

  std::optional<ProgramRun> launcher_;
  QString connectionName_;
};

}  // namespace zolvex::test
