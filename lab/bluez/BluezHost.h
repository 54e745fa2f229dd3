#pragma once

#include "lab/Radio.h"
#include "lab/bus/BusTree.h"

#include <QMap>
#include <QObject>
#include <QString>

#include <chrono>
#include <functional>

namespace zolvex::lab {

/// How long things take on one computer's Bluetooth.
struct BluezTiming {
  using Duration = std::chrono::milliseconds;

  /// Of each call that uses the radio, and from the start of a discovery until it finds what is there.
  Duration latency{0};

  /// What the fault "slow" adds to that.
  Duration slowness{2'000};

  /// A device that was found but not paired is forgotten this long after the discovery ended.
  Duration foundDeviceLife{30'000};

  /// A link that nobody uses ends this long after it came up.
  Duration idleLinkLife{2'000};

  /// Disconnect gives the services this long to end before it ends the link, whether they need it or not.
  Duration disconnection{2'000};

  /// How long a daemon that died stays away.
  Duration restartPause{500};
};

/// What the daemon remembers of a device beyond its bond.
struct StoredDevice {
  bool isTrusted = false;
  QString alias = {};
};

/// What one computer's Bluetooth is, whatever becomes of its daemon.
struct BluezIdentity {
  QString computer;
  QString adapterAddress;
  BluezTiming timing = {};
};

/// What all objects of one daemon share. Owned by the daemon, outlives its objects.
struct BluezHost {
  Radio& radio;
  const BluezIdentity& identity;
  QMap<QString, StoredDevice>& storage;
  BusTree& tree;
  std::function<void()> die;  ///< Ends the daemon as a crash does. Returns before that happens.

  bool suffers(FaultKind kind, const QString& address = {}) const {
    return radio.suffers(kind, identity.computer, address);
  }
  bool isPoweredOff = false;
  bool isPowered() const { return !isPoweredOff && !suffers(FaultKind::adapterOff); }

  BluezTiming::Duration latency(const QString& address = {}) const;

  /// True when the daemon dies of this call, which is then never answered.
  bool diesOf(const QString& address);

  /// Runs `step` later, unless `context` is gone by then.
  static void after(BluezTiming::Duration delay, QObject* context, std::function<void()> step);
};

}  // namespace zolvex::lab
