#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QString>
#include <QtQmlIntegration>

namespace zolvex {

/// A symbol in a scene, in any colour.
class SymbolItem : public QQuickPaintedItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
  Q_PROPERTY(QColor colour READ colour WRITE setColour NOTIFY colourChanged)

 public:
  explicit SymbolItem(QQuickItem* parent = nullptr);

  QString name() const { return name_; }
  void setName(const QString& name);
  QColor colour() const { return colour_; }
  void setColour(const QColor& colour);

  void paint(QPainter* painter) override;

 Q_SIGNALS:
  void nameChanged();
  void colourChanged();

 private:
  QString name_;
  QColor colour_ = Qt::black;
};

}  // namespace zolvex
