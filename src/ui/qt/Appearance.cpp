#include "ui/qt/Appearance.h"

#include <QDBusArgument>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

// Values of "color-scheme" in the portal.
constexpr uint preferDark = 1;
constexpr uint preferLight = 2;

/// Red, green and blue from 0 to 1; other numbers mean that there is no accent colour.
QColor colourOf(const QVariant& value) {
  if (value.metaType() != QMetaType::fromType<QDBusArgument>()) return {};
  const auto argument = value.value<QDBusArgument>();
  if (argument.currentSignature() != "(ddd)"_L1) return {};
  double red = -1, green = -1, blue = -1;
  argument.beginStructure();
  argument >> red >> green >> blue;
  argument.endStructure();
  const auto isPart = [](double part) { return part >= 0 && part <= 1; };
  if (!isPart(red) || !isPart(green) || !isPart(blue)) return {};
  return QColor::fromRgbF(static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue));
}

}  // namespace

Appearance::Appearance(QObject* parent) : QObject(parent) {
  connect(&portal_, &PortalSettings::told, this, &Appearance::take);
  readPalette();
  qGuiApp->installEventFilter(this);
}

void Appearance::take(const QString& group, const QString& key, const QVariant& value) {
  if (group == "org.freedesktop.appearance"_L1)
    takeAppearance(key, value);
  else if (group == "org.gnome.desktop.interface"_L1 && key == "enable-animations"_L1)
    isMotionReduced_ = !value.toBool();
  else if (group == "org.gnome.desktop.a11y.interface"_L1 && key == "high-contrast"_L1)
    isHighContrast_ = value.toBool();
  else
    return;
  Q_EMIT changed();
}

void Appearance::takeAppearance(const QString& key, const QVariant& value) {
  const auto number = value.toUInt();
  if (key == "color-scheme"_L1) {
    wantsDark_.reset();
    if (number == preferDark || number == preferLight) wantsDark_ = number == preferDark;
  } else if (key == "contrast"_L1) {
    isHighContrast_ = number == 1;
  } else if (key == "reduced-motion"_L1) {
    isMotionReduced_ = number == 1;
  } else if (key == "accent-color"_L1) {
    accent_ = colourOf(value);
  }
}

bool Appearance::eventFilter(QObject* watched, QEvent* event) {
  if (watched == qGuiApp && event->type() == QEvent::ApplicationPaletteChange) {
    readPalette();
    Q_EMIT changed();
  }
  return QObject::eventFilter(watched, event);
}

void Appearance::readPalette() {
  const auto palette = QGuiApplication::palette();
  isPaletteDark_ = palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

}  // namespace zolvex
