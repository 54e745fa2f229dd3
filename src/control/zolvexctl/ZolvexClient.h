#pragma once

#include "core/Published.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariant>

#include <chrono>
#include <variant>

namespace zolvex::control {

/// The running application as seen over the session bus. Calls block, for a limited time.
class ZolvexClient final : public QObject {
  Q_OBJECT

 public:
  static constexpr std::chrono::milliseconds callLimit{5'000};
  static constexpr std::chrono::milliseconds scanLimit{15'000};  ///< For calls that list the paired devices.

  struct Failure {
    bool isNotRunning = false;
    QString text;
    QString name;  ///< Of the error, where the application itself refused.
  };
  using Result = std::variant<QVariantList, Failure>;
  using State = std::variant<QVariantMap, Failure>;

  ZolvexClient();
  ~ZolvexClient() override;

  Result call(const QString& method, const QVariantList& arguments = {}, std::chrono::milliseconds limit = callLimit);

  /// All properties.
  State state();

  /// From now on `assigned`, `logged` and `ended` tell, from within the event loop.
  void watch();
  Signal<const QString&, const QVariant&> assigned;
  Signal<const QString&, const QString&> logged;  ///< Category and message.
  Signal<> ended;                                 ///< The application or the bus is gone.

 private:
  Result send(const QDBusMessage& message, std::chrono::milliseconds limit);

 private Q_SLOTS:
  void propertiesChanged(const QString& interface, const QVariantMap& values, const QStringList& invalidated);
  void loggedLine(const QString& category, const QString& message);
  void disconnected();

 private:
  QDBusConnection connection_;
};

}  // namespace zolvex::control
