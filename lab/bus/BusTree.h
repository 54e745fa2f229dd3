#pragma once

#include "lab/bus/BusInterface.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QMap>
#include <QSet>
#include <QStringList>

#include <memory>
#include <vector>

namespace zolvex::lab {

/// All objects that one service exports on one connection, with ObjectManager at "/", Properties and introspection on
/// each. Objects come and go; calls to a path that is none are answered with UnknownObject. Owned by the service.
class BusTree : public QDBusVirtualObject {
  Q_OBJECT

 public:
  explicit BusTree(const QDBusConnection& connection, QObject* parent = nullptr);
  ~BusTree() override;

  /// Must be called once, before the service's name is requested. False when the connection is not there.
  bool attach();

  /// Exports an object and announces it with InterfacesAdded.
  void add(const QString& path, std::vector<std::shared_ptr<BusInterface>> interfaces);

  /// Withdraws it and announces that with InterfacesRemoved.
  void remove(const QString& path);

  bool contains(const QString& path) const { return objects_.contains(path); }

  /// Announces the properties that differ from those announced last.
  void publishChanges(const QString& path);

  /// Announces a property as if it had changed, though it is as before: it changed back too soon for anybody to see.
  void announce(const QString& path, const QString& interface, const QString& property);

  void sendSignal(const QString& path, const QString& interface, const QString& member,
                  const QVariantList& values = {});

  /// While calls are held nothing is answered; afterwards all that came in the meantime is, in order.
  void holdCalls(bool hold);

  QDBusConnection connection() const { return connection_; }

  QString introspect(const QString& path) const override;
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 Q_SIGNALS:
  /// A client of the bus is gone; `uniqueName` is not used again.
  void clientLeft(const QString& uniqueName);

  /// A call was answered; `errorName` is empty after a success.
  void answered(const zolvex::lab::BusCall& call, const QString& errorName);

 private Q_SLOTS:
  void onNameOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);

 private:
  struct Object {
    std::vector<std::shared_ptr<BusInterface>> interfaces;
    QMap<QString, QVariantMap> announced;  // interface -> properties
  };

  void handle(const BusCall& call);
  void handleProperties(const BusCall& call, Object& object);
  void answerManagedObjects(const BusCall& call) const;
  QStringList childrenOf(const QString& path) const;
  bool isAncestor(const QString& path) const;
  static BusInterface* find(const Object& object, const QString& interface);

  QDBusConnection connection_;
  QMap<QString, Object> objects_;
  bool holdsCalls_ = false;
  std::vector<BusCall> heldCalls_;
};

}  // namespace zolvex::lab
