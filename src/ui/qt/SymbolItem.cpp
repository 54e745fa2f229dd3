#include "ui/qt/SymbolItem.h"

#include "ui/qt/SymbolDrawing.h"

namespace zolvex {

SymbolItem::SymbolItem(QQuickItem* parent) : QQuickPaintedItem(parent) {}

void SymbolItem::setName(const QString& name) {
  if (name == name_) return;
  name_ = name;
  update();
  Q_EMIT nameChanged();
}

void SymbolItem::setColour(const QColor& colour) {
  if (colour == colour_) return;
  colour_ = colour;
  update();
  Q_EMIT colourChanged();
}

void SymbolItem::paint(QPainter* painter) {
  SymbolDrawing::paint(*painter, boundingRect(), name_, colour_);
}

}  // namespace zolvex
