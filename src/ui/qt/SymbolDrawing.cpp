#include "ui/qt/SymbolDrawing.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr std::array iconSizes{16, 22, 24, 32, 44, 48, 64};
constexpr QRgb panelGrey = 0xff808080;

QString symbolPath(const QString& name) {
  return u":/zolvex/symbols/%1.svg"_s.arg(name);
}

QByteArray tinted(const QString& path, const QColor& colour) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return {};
  return file.readAll().replace("currentColor", colour.name().toLatin1());
}

void paintFile(QPainter& painter, const QRectF& area, const QString& path, const QColor& colour) {
  const auto drawing = tinted(path, colour);
  if (drawing.isEmpty()) return;
  QSvgRenderer renderer(drawing);
  painter.setOpacity(colour.alphaF());
  renderer.render(&painter, area);
}

QIcon iconOf(const QString& path, const QColor& colour) {
  QIcon icon;
  for (const int size : iconSizes) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paintFile(painter, QRectF(0, 0, size, size), path, colour);
    icon.addPixmap(pixmap);
  }
  return icon;
}

}  // namespace

void SymbolDrawing::paint(QPainter& painter, const QRectF& area, const QString& name, const QColor& colour) {
  if (!name.isEmpty()) paintFile(painter, area, symbolPath(name), colour);
}

QIcon SymbolDrawing::trayIcon(const QString& iconName) {
  if (QIcon::hasThemeIcon(iconName)) return QIcon::fromTheme(iconName);
  return iconOf(u":/zolvex/tray/%1.svg"_s.arg(iconName), panelGrey);
}

QIcon SymbolDrawing::applicationIcon() {
  return iconOf(symbolPath(u"AppIcon"_s), Qt::black);
}

}  // namespace zolvex
