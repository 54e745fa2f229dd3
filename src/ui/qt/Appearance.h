#pragma once

#include "ui/qt/PortalSettings.h"

#include <QColor>
#include <QObject>
#include <QtQmlIntegration>

#include <optional>

namespace zolvex {

/// How the user wants windows to look: what the desktop's portal says, and without it what the palette says. Follows
/// both while running. One per QML engine; Theme.qml turns it into colours. Main thread.
class Appearance : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  Q_PROPERTY(bool isDark READ isDark NOTIFY changed)
  Q_PROPERTY(bool isHighContrast READ isHighContrast NOTIFY changed)
  Q_PROPERTY(bool isMotionReduced READ isMotionReduced NOTIFY changed)
  Q_PROPERTY(QColor accent READ accent NOTIFY changed)
  Q_PROPERTY(bool hasAccent READ hasAccent NOTIFY changed)

 public:
  explicit Appearance(QObject* parent = nullptr);

  /// Asks the portal of this bus; what an earlier one said stays until this one says otherwise.
  void follow(const QDBusConnection& sessionBus) { portal_.follow(sessionBus); }

  bool isDark() const { return wantsDark_.value_or(isPaletteDark_); }
  bool isHighContrast() const { return isHighContrast_; }
  bool isMotionReduced() const { return isMotionReduced_; }

  /// Of the desktop; invalid when it has none.
  QColor accent() const { return accent_; }
  bool hasAccent() const { return accent_.isValid(); }

  /// One setting of the portal; others than the few that matter here are ignored.
  void take(const QString& group, const QString& key, const QVariant& value);

 Q_SIGNALS:
  void changed();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void takeAppearance(const QString& key, const QVariant& value);
  void readPalette();

  bool isPaletteDark_ = false;
  std::optional<bool> wantsDark_;
  bool isHighContrast_ = false;
  bool isMotionReduced_ = false;
  QColor accent_;
  PortalSettings portal_;
};

}  // namespace zolvex
