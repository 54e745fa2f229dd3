#pragma once

#include "lab/bluez/AgentManager.h"
#include "lab/bluez/BluezErrors.h"
#include "lab/bluez/BluezHost.h"

#include <QObject>

#include <optional>

namespace zolvex::lab {

/// One run of Device1.Pair: the bond is tried; a device that wants a passkey has the caller's agent asked and the bond
/// tried again; the call is answered. Ends early when it is cancelled or its caller leaves. Owned by the device.
class Pairing : public QObject {
  Q_OBJECT

 public:
  Pairing(BluezHost& host, AgentManager& agents, QString address, BusCall call);

  void start();
  void cancel();

 Q_SIGNALS:
  /// There is a link to the device now, whatever comes of it.
  void reached();

  /// No link comes about. finished() follows.
  void notReached();

  /// The call was answered, or nobody waits for an answer any more.
  void finished();

 private:
  void tryBond(bool passkey);
  void askAgent();
  void callAgent(const QString& member, const QVariantList& arguments, bool typingFollows);
  void onAgentRefused(const QString& errorName);
  void failWith(const bluezError::Error& error);
  void finish();

  BluezHost& host_;
  AgentManager& agents_;
  QString address_;
  BusCall call_;
  std::optional<AgentManager::Agent> askedAgent_;
};

}  // namespace zolvex::lab
