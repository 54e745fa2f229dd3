#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

class QPainter;
class QRectF;

namespace zolvex {

/// Draws the symbols, which are SVG files in one colour of the drawer's choice. Sharp at any size.
class SymbolDrawing {
 public:
  /// `name` as in ui/Symbol.h, or that of the application's own icon, which has its own colours: Qt reads an SVG image
  /// only with a plugin that not every distribution installs. An unknown one draws nothing.
  static void paint(QPainter& painter, const QRectF& area, const QString& name, const QColor& colour);

  /// The status item's icon: from the desktop's icon theme, which suits its panel, or else our own in a grey that
  /// stands out on light and on dark panels.
  static QIcon trayIcon(const QString& iconName);

  /// The application's own icon.
  static QIcon applicationIcon();
};

}  // namespace zolvex
