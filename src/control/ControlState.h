#pragma once

#include "control/ControlOperations.h"
#include "control/ControlTypes.h"
#include "core/Published.h"

#include <QString>
#include <QVariant>

#include <functional>
#include <string>
#include <vector>

namespace zolvex::control {

/// The properties of the control interface: their values now, and word of every assignment of one, or of every change
/// of one that is derived from others. Of the peers, it is no change when one was heard of again. Main thread.
class ControlState {
 public:
  explicit ControlState(const Controlled& controlled);

  /// Name to value of all properties.
  QVariantMap all() const;

  /// An invalid value when there is no such property.
  QVariant value(const QString& name) const { return all().value(name); }

  /// Told with the value that was assigned and is about to take effect.
  Signal<const QString&, const QVariant&> assigned;

 private:
  void observeOwnership();
  void observePeers();
  void tellOperation();
  void tellTransportMode();
  using Peers = std::vector<NetworkDevice>;
  void tellRegistered(const Peers& peers);
  void tellDiscovered(const Peers& peers);
  void tellPeers(const QString& name, const PeerRows& rows, PeerRows& told);
  WorkItem tellAgain(const Peers& peers, std::function<void(const Peers&)> tell);

  Controlled use_;
  QString toldOperation_;
  QString toldTransportMode_;
  bool toldReachable_;
  PeerRows toldRegistered_;  // these two without the times
  PeerRows toldDiscovered_;
  WorkItem registeredExpiry_;
  WorkItem discoveredExpiry_;
  std::vector<Subscription> subscriptions_;
  Lifetime lifetime_;
};

}  // namespace zolvex::control
