#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

namespace zolvex::lab {

/// What a running Zolvex says of itself on its computer's session bus, and the operations it offers there. Follows the
/// properties from the moment the service appears. Owned by the desktop.
class ControlClient : public QObject {
  Q_OBJECT

 public:
  explicit ControlClient(const QString& computer);
  ~ControlClient() override;

  /// False when the bus is not there.
  bool start(const QString& busAddress);

  /// True once the properties of the running service are known.
  bool isThere() const { return !properties_.isEmpty(); }

  QString ownershipState() const { return text("OwnershipState"); }
  QString lastResult() const { return text("LastResult"); }
  bool isSwitching() const { return properties_.value(QStringLiteral("IsSwitching")).toBool(); }
  int connectedDevices() const { return connectedDevices_; }

  /// They return at once; the outcome shows in the properties.
  void connectToThisMac(bool connectMissing);
  void forceConnect(bool connectMissing);
  void release();

 Q_SIGNALS:
  /// `value` of a property as people read it. Given for every property once after the service appeared.
  void changed(const QString& property, const QString& value);

 private Q_SLOTS:
  void onPropertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated);
  void onOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);

 private:
  void readAll();
  void lookWhetherSwitching();
  void take(const QVariantMap& values);
  void call(const QString& member, const QVariantList& arguments = {});
  QString text(const char* property) const { return properties_.value(QLatin1String(property)).toString(); }

  QString connectionName_;
  QDBusConnection connection_;
  QVariantMap properties_;
  int connectedDevices_ = 0;
};

}  // namespace zolvex::lab
