#pragma once

#include "lab/bluez/DeviceInterface.h"

#include <QMap>
#include <QTimer>

#include <memory>

namespace zolvex::lab {

/// Adapter1 and the devices below it. Exports the devices that are bonded here and those that a discovery found; the
/// latter are forgotten some time after the last discovery ended. A discovery belongs to its client and ends with it.
/// Owned by the daemon.
class AdapterInterface : public QObject, public BusInterface {
 public:
  AdapterInterface(BluezHost& host, AgentManager& agents);

  static QString path();

  /// Withdraws all devices; the adapter itself is withdrawn by the daemon.
  void withdrawDevices();

  /// Exports the bonded devices. Call it once the adapter itself is exported.
  void exportDevices();

  /// Takes over what has changed on the radio.
  void update(const QString& address);
  void updatePower();

  QString name() const override;
  QVariantMap properties() const override;
  bool handle(const BusCall& call) override;
  void setProperty(const BusCall& call, const QString& property, const QVariant& value) override;
  QString introspection() const override;

 private:
  void setDiscoveryFilter(const BusCall& call);
  void startDiscovery(const BusCall& call);
  void stopDiscovery(const BusCall& call);
  void endDiscovery(const QString& client);
  void listen(const QString& address);
  bool hears(const QString& address) const;
  bool listensForClassic() const;
  void forgetFoundDevices();

  void removeDevice(const BusCall& call);
  void finishRemoval(const BusCall& call, const QString& address);

  void addDevice(const QString& address);
  void dropDevice(const QString& address);
  QString addressAt(const QString& devicePath) const;

  BluezHost& host_;
  AgentManager& agents_;
  QMap<QString, std::shared_ptr<DeviceInterface>> devices_;  // address -> device
  QMap<QString, QVariantMap> filters_;                       // client -> discovery filter
  QStringList discoverers_;                                  // clients
  QTimer forgetTimer_;
};

}  // namespace zolvex::lab
