#pragma once

#include "lab/bluez/BluezHost.h"

#include <QMap>
#include <QObject>

#include <optional>

namespace zolvex::lab {

/// AgentManager1: who may be asked during a pairing. One agent per client; it goes with its client. Owned by the
/// daemon.
class AgentManager : public QObject, public BusInterface {
 public:
  struct Agent {
    QString client;
    QString path;
    QString capability;

    bool canShow() const;
    bool canConfirm() const;
    bool canType() const;
  };

  explicit AgentManager(BluezHost& host);

  static QString path();

  /// The agent that a pairing of `client` uses: its own, or else the default one.
  std::optional<Agent> agentFor(const QString& client) const;

  QString name() const override;
  bool handle(const BusCall& call) override;
  QString introspection() const override;

 private:
  void registerAgent(const BusCall& call);
  void unregisterAgent(const BusCall& call);
  void requestDefault(const BusCall& call);
  bool hasAgent(const QString& client, const QString& path) const;
  void forget(const QString& client);

  QMap<QString, Agent> agents_;  // client -> agent
  QString defaultClient_;
};

}  // namespace zolvex::lab
