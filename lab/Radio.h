#pragma once

#include "lab/Fault.h"

#include <QMap>
#include <QObject>

#include <vector>

namespace zolvex::lab {

/// One virtual Bluetooth device. Addresses have colons and capitals.
struct VirtualDevice {
  QString address;
  QString name;
  QString icon = {};             ///< As Device1.Icon names it, for example "input-keyboard".
  quint32 deviceClass = 0x0540;  ///< Major class peripheral.
  QStringList profiles{QStringLiteral("00001124-0000-1000-8000-00805f9b34fb")};  ///< Human interface device.
};

/// "Magic Keyboard", "Magic Trackpad" and "Magic Mouse".
std::vector<VirtualDevice> magicDevices();

/// How a device answers a computer.
enum class RadioAnswer {
  accepted,
  unreachable,  ///< Asleep, out of range, or another computer's.
  missed,       ///< Did not wake up in time; the next attempt may succeed.
  refused,      ///< The link comes up, but the device does not want what is asked of it.
  bondRefused,  ///< The link comes up and goes, for the device has forgotten the bond.
  passkeyWanted,
};

/// The air between all computers of a world: which devices exist, which computer holds each one's bond, which computer
/// each is connected to, and what goes wrong. A device that is bonded or connected to one computer is invisible to the
/// others until that computer lets it go. Knows no time and no bus; computers are known by their names. One thread.
class Radio : public QObject {
  Q_OBJECT

 public:
  static constexpr int missedAttempts = 2;

  explicit Radio(QObject* parent = nullptr) : QObject(parent) {}

  void addDevice(VirtualDevice device);
  const VirtualDevice* device(const QString& address) const;

  /// Address of the device of that name in whatever case, or of that address in any notation; empty when there is none.
  QString addressOf(const QString& nameOrAddress) const;

  /// All devices in the order in which they were added.
  QStringList addresses() const;

  /// Address of the adapter of that computer; each has its own, and it stays.
  QString adapterAddressFor(const QString& computer);

  /// Who holds the bond, or the connection; empty when nobody does.
  QString holder(const QString& address) const { return bonds_.value(address); }
  QString connectedTo(const QString& address) const { return links_.value(address); }

  /// A computer that sleeps reaches no device and loses its connections; its bonds stay.
  void setAsleep(const QString& computer, bool asleep);

  /// Whether `computer` would get an answer from the device.
  bool isReachable(const QString& computer, const QString& address) const;

  /// What a computer does to a device. Bonding needs a `passkey` only with the fault that wants one.
  RadioAnswer bond(const QString& computer, const QString& address, bool passkey = false);
  RadioAnswer openLink(const QString& computer, const QString& address);
  void closeLink(const QString& computer, const QString& address);
  void closeLinks(const QString& computer);

  /// Ends the bond and the connection that `computer` has with the device; harmless when it has none.
  void release(const QString& computer, const QString& address);

  /// Faults may come and go at any time.
  void inject(const Fault& fault);
  void lift(const Fault& fault);
  void liftAll();
  bool suffers(FaultKind kind, const QString& computer, const QString& address = {}) const;

  /// Ends a fault for one computer and device only: those that strike once.
  void spend(FaultKind kind, const QString& computer, const QString& address = {});

 Q_SIGNALS:
  /// Bond or connection of the device changed, or its answers did.
  void changed(const QString& address);
  void faultsChanged();

 private:
  struct Spent {
    FaultKind kind;
    QString computer;
    QString address;
    bool operator==(const Spent&) const = default;
  };

  bool applies(const Fault& fault, const QString& computer, const QString& address) const;
  bool missesThisAttempt(const QString& computer, const QString& address);
  void dropUnreachableLinks();
  void announceFaults();

  std::vector<VirtualDevice> devices_;
  QStringList computers_;
  QStringList asleep_;
  QMap<QString, QString> bonds_;  // address -> computer
  QMap<QString, QString> links_;  // address -> computer
  std::vector<Fault> faults_;
  std::vector<Spent> spent_;
  QMap<QString, int> attempts_;  // "computer address" -> failed so far
};

}  // namespace zolvex::lab
