#pragma once

#include "ui/qt/ClicksElsewhere.h"
#include "ui/qt/PopoverModel.h"

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QObject>
#include <QRect>

#include <memory>
#include <optional>

class QQmlEngine;
class QQuickWindow;

namespace zolvex {

/// The popover as a window. It is made at the first opening, as most starts of the program see none. With an anchor it
/// is transient: without a frame, beside the icon that was clicked, and gone as soon as another window gets the
/// keyboard or something else is clicked on. The icon itself is not something else. Without one, where no panel has our
/// icon, it is a window like others. Main thread.
class Popover final : public QObject {
  Q_OBJECT

 public:
  explicit Popover(PopoverModel& model);
  ~Popover() override;

  /// Shows it, unless it is shown, and gives it the keyboard. False when its QML cannot be loaded, which is logged
  /// once.
  bool show(const std::optional<QRect>& anchor);
  void close();

  /// Looks as the desktop of this bus wants it from now on.
  void follow(const QDBusConnection& sessionBus);

  bool isShown() const;

  /// Whether it lost the keyboard, and was closed for it, a moment ago: by the click that is now being handled.
  bool wasClosedByThisClick() const;

  /// Null before the first opening. For tests.
  QQuickWindow* window() const { return window_.get(); }

 private:
  bool create();
  bool createWindow();
  void followBus();
  bool fail(const QString& reason);
  void dress();
  void closed();
  void activeChanged();
  void clickedElsewhere(const QPoint& position);

 private Q_SLOTS:
  void place();

 private:
  PopoverModel& model_;
  ClicksElsewhere clicksElsewhere_;  // before the window, which says goodbye when it ends
  QDBusConnection sessionBus_{QString()};
  std::unique_ptr<QQmlEngine> engine_;
  std::unique_ptr<QQuickWindow> window_;
  bool isBroken_ = false;
  std::optional<QRect> anchor_;
  QElapsedTimer sinceDeactivation_;
};

}  // namespace zolvex
