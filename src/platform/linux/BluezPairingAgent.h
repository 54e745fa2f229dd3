#pragma once

#include "platform/linux/BluezBus.h"

#include <QDBusVirtualObject>
#include <QString>

namespace zolvex {

/// Answers BlueZ's questions while one device is being paired, and only those about that device; everything else is
/// refused. It is not the default agent: BlueZ asks it because the pairing is asked for on the same connection.
/// Registered from registerAtDaemon() until its end. The thread of the QCoreApplication.
class BluezPairingAgent final : public QDBusVirtualObject {
 public:
  enum class Capability {
    noInputNoOutput,  ///< Pairs without asking anybody: the user may have no other keyboard to answer with.
    keyboardDisplay,  ///< Shows what has to be typed on the device.
  };

  BluezPairingAgent(const BluezBus& bus, const BluezDevice& device, Capability capability);
  ~BluezPairingAgent() override;

  /// The answer of BlueZ.
  QDBusMessage registerAtDaemon();

  QString introspect(const QString& path) const override;
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  QDBusMessage answerTo(const QDBusMessage& question);
  bool concernsUs(const QDBusMessage& question) const;
  void show(const QString& passkey);

  const BluezBus& bus_;
  const BluezDevice device_;
  const Capability capability_;
  QString daemon_;  ///< Unique name of the one that may ask.
  QString shown_;
};

}  // namespace zolvex
