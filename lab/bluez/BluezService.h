#pragma once

#include "lab/bluez/BluezDaemon.h"

#include <QTimer>

#include <memory>

namespace zolvex::lab {

/// org.bluez of one computer. Keeps what outlives a daemon, and starts and ends the daemon as the faults want it.
class BluezService : public QObject {
  Q_OBJECT

 public:
  BluezService(Radio& radio, BluezIdentity identity);
  ~BluezService() override;

  /// Puts org.bluez on the bus, unless the fault "daemon-absent" forbids that. False when the bus is not there.
  bool start(const QString& busAddress);

  void stop();

  /// The computer sleeps: no call is answered before it wakes, no device is connected. Bonds stay.
  void setAsleep(bool asleep);

  const BluezIdentity& identity() const { return identity_; }

  /// The daemon is busy: it answers calls only later, when this is ended.
  void holdCalls(bool hold);

  /// From the next call on.
  void setLatency(BluezTiming::Duration latency) { identity_.timing.latency = latency; }

 Q_SIGNALS:
  /// A call to org.bluez was answered; `errorName` is empty after a success.
  void answered(const zolvex::lab::BusCall& call, const QString& errorName);
  void clientLeft(const QString& uniqueName);

 private:
  bool launch();
  void onDied();
  void onFaultsChanged();

  Radio& radio_;
  BluezIdentity identity_;
  QString busAddress_;
  QMap<QString, StoredDevice> storage_;
  std::unique_ptr<BluezDaemon> daemon_;
  QTimer restartTimer_;
  bool isAsleep_ = false;
};

}  // namespace zolvex::lab
