#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <span>

namespace zolvex::lab {

/// The knobs of a bad day. Each has one name, listed with a description in Fault.cpp.
enum class FaultKind {
  asleep,
  outOfRange,
  thirdAttempt,
  refusesPairing,
  refusesConnection,
  wantsPasskey,
  hangsOnPair,
  hangsOnConnect,
  hangsOnRemove,
  halfBonded,
  bondForgotten,
  connectReplyLost,
  removeReplyLost,
  adapterOff,
  adapterUnplugged,
  daemonAbsent,
  daemonRestarts,
  slow,
};

struct FaultDescription {
  FaultKind kind;
  const char* name;
  const char* text;
};

/// All faults in the order in which people should read them.
std::span<const FaultDescription> faultDescriptions();

/// One fault, and whom it befalls. An empty device or computer means every one.
struct Fault {
  FaultKind kind;
  QString device = {};    ///< A device's name or address.
  QString computer = {};  ///< A computer's name.

  /// Reads NAME[:DEVICE][@COMPUTER]; none when there is no fault of that name.
  static std::optional<Fault> parse(const QString& text);

  bool operator==(const Fault&) const = default;
};

}  // namespace zolvex::lab
