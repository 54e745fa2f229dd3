#pragma once

#include "lab/bluez/Pairing.h"

#include <QTimer>

#include <memory>
#include <optional>

namespace zolvex::lab {

/// Device1 of one device as one computer's daemon knows it. Its bond and connection are those of the radio; Connect
/// without a bond leaves it paired but not bonded, as the real daemon does. Owned by the adapter.
class DeviceInterface : public QObject, public BusInterface {
  Q_OBJECT

 public:
  DeviceInterface(BluezHost& host, AgentManager& agents, const QString& address);
  ~DeviceInterface() override;

  static QString pathOf(const QString& address);

  bool isBonded() const;
  bool isConnected() const;

  /// True while the daemon must not forget the device.
  bool isInUse() const { return isBonded() || isConnected() || pairing_ || connecting_; }

  /// What becomes of calls that wait for the device when the adapter goes.
  void abortConnection();

  /// Signal strength is known only while a discovery runs.
  void setHeard(bool heard) { isHeard_ = heard; }

  QString name() const override;
  QVariantMap properties() const override;
  QStringList silentProperties() const override;
  bool handle(const BusCall& call) override;
  void setProperty(const BusCall& call, const QString& property, const QVariant& value) override;
  QString introspection() const override;

 Q_SIGNALS:
  /// The device may have fallen out of use.
  void idle();

  /// A device that was only found could not be reached: the daemon forgets it.
  void lost();

 private:
  void pair(const BusCall& call);
  void cancelPairing(const BusCall& call);
  void connectDevice(const BusCall& call);
  void openLink(const BusCall& call);
  void resumeConnection();
  void setBareLink(bool isUp);
  void raiseBareLink(BluezTiming::Duration life);
  void disconnectDevice(const BusCall& call);
  void onClientLeft(const QString& client);
  const VirtualDevice& device() const;

  BluezHost& host_;
  AgentManager& agents_;
  QString address_;
  bool isHeard_ = false;
  bool hasBareLink_ = false;  ///< Connected as far as the radio goes, but of no use.
  bool isHanging_ = false;    ///< `connecting_` waits for the device to answer.
  QTimer bareLinkTimer_;
  std::unique_ptr<Pairing> pairing_;
  std::optional<BusCall> connecting_;
};

}  // namespace zolvex::lab
