#pragma once

#include "lab/bluez/AdapterInterface.h"
#include "lab/bluez/AgentManager.h"

#include <QObject>

#include <memory>

namespace zolvex::lab {

/// One life of a computer's Bluetooth daemon: its own bus connection, the name org.bluez, and its objects. Destroying
/// it is how the daemon dies: the bus tells everybody, calls under way fail with NoReply, connections of devices drop.
class BluezDaemon : public QObject {
  Q_OBJECT

 public:
  BluezDaemon(Radio& radio, const BluezIdentity& identity, QMap<QString, StoredDevice>& storage,
              const QString& busAddress);
  ~BluezDaemon() override;

  /// False when the bus is not there or somebody else owns the name.
  bool start();

  /// Whether it answers calls only later, when this is ended.
  void holdCalls(bool hold) { tree_->holdCalls(hold); }

 Q_SIGNALS:
  void answered(const zolvex::lab::BusCall& call, const QString& errorName);
  void clientLeft(const QString& uniqueName);

  /// A call killed it. Its owner has to delete it, later.
  void died();

 private:
  void followRadio();
  void plugAdapter();
  void unplugAdapter();
  void onFaultsChanged();

  QString connectionName_;
  std::unique_ptr<BusTree> tree_;
  BluezHost host_;
  std::shared_ptr<AgentManager> agents_;
  std::shared_ptr<AdapterInterface> adapter_;
};

}  // namespace zolvex::lab
