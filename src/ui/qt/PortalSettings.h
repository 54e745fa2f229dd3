#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QObject>
#include <QVariant>

namespace zolvex {

/// The desktop's settings that programs of all kinds may read, as xdg-desktop-portal tells them; nothing where there
/// is no portal. Main thread; never waits.
class PortalSettings final : public QObject {
  Q_OBJECT

 public:
  explicit PortalSettings(QObject* parent = nullptr);

  /// Asks for all settings on this bus, and from now on for each change; does nothing when it is not connected.
  void follow(QDBusConnection bus);

 Q_SIGNALS:
  /// A setting has this value now. `value` is of a basic type, or a QDBusArgument.
  void told(const QString& group, const QString& key, const QVariant& value);

 private Q_SLOTS:
  void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

 private:
  void answered(const QDBusMessage& answer);
};

}  // namespace zolvex
