#pragma once

#include "control/ControlOperations.h"
#include "control/ControlState.h"
#include "core/LogFeed.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace zolvex::control {

/// The object on the bus: reads calls and property requests, has them carried out, answers, and sends
/// PropertiesChanged. Knows the members only by the tables in its source and the interface's XML. It also takes the
/// calls with which a desktop starts and activates an application. Main thread.
class ControlObject final : public QDBusVirtualObject {
 public:
  /// `decisions` repeats the log lines that are told.
  ControlObject(const Controlled& controlled, LogFeed& decisions);

  /// The connection on which changes are told; none while there is no bus.
  void setConnection(std::optional<QDBusConnection> connection) { connection_ = std::move(connection); }

  QString introspect(const QString& path) const override;
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  using Answer = std::function<void(const std::variant<QVariantList, ControlError>&)>;
  struct Method {
    QString signature;  // of its arguments
    std::function<void(const QVariantList& arguments, const Answer& answer)> run;
  };

  void addMethods();
  void addSetupMethods();
  void add(const char* name, const char* signature, decltype(Method::run) run);

  void callMethod(const QDBusMessage& message, const QDBusConnection& connection);
  void callApplication(const QDBusMessage& message, const QDBusConnection& connection);
  void callProperties(const QDBusMessage& message, const QDBusConnection& connection);
  QDBusMessage propertyReply(const QDBusMessage& message) const;
  void tellAssigned(const QString& name, const QVariant& value);
  void tellLogged(const std::string& category, const std::string& message);

  Controlled use_;
  ControlOperations operations_;
  ControlState state_;
  std::map<QString, Method> methods_;
  std::optional<QDBusConnection> connection_;
  Subscription assignments_;
  Subscription logLines_;
};

}  // namespace zolvex::control
