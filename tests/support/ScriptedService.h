#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <functional>
#include <vector>

namespace zolvex::test {

/// A bus service made of one function: every call to any object below "/" is noted and answered by `answer`,
/// or never when that gives an empty message. It has a connection of its own, which ends with it.
class ScriptedService final : public QDBusVirtualObject {
 public:
  using Answer = std::function<QDBusMessage(const QDBusMessage& call)>;

  ScriptedService(const QString& busAddress, const QString& name, Answer answer)
      : answer_(std::move(answer)), connection_(QDBusConnection::connectToBus(busAddress, name)) {
    connection_.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
    isRegistered_ = connection_.registerService(name);
  }
  ~ScriptedService() override {
    connection_.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);  // calls may be on their way
    QDBusConnection::disconnectFromBus(connection_.name());
  }

  bool isRegistered() const { return isRegistered_; }
  const std::vector<QDBusMessage>& calls() const { return calls_; }
  QDBusConnection& connection() { return connection_; }

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    calls_.push_back(message);
    const auto reply = answer_(message);
    if (reply.type() != QDBusMessage::InvalidMessage) connection.send(reply);
    return true;
  }

 private:
  Answer answer_;
  QDBusConnection connection_;
  bool isRegistered_ = false;
  std::vector<QDBusMessage> calls_;
};

}  // namespace zolvex::test
