#include "lab/Radio.h"

#include <algorithm>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

std::vector<VirtualDevice> magicDevices() {
  return {
      {u"02:5A:00:00:00:01"_s, u"Magic Keyboard"_s, u"input-keyboard"_s, 0x0540},
      {u"02:5A:00:00:00:02"_s, u"Magic Trackpad"_s, u"input-tablet"_s, 0x0594},
      {u"02:5A:00:00:00:03"_s, u"Magic Mouse"_s, u"input-mouse"_s, 0x0580},
  };
}

void Radio::addDevice(VirtualDevice device) {
  const auto address = device.address;
  devices_.push_back(std::move(device));
  Q_EMIT changed(address);
}

const VirtualDevice* Radio::device(const QString& address) const {
  const auto found = std::ranges::find(devices_, address, &VirtualDevice::address);
  return found == devices_.end() ? nullptr : &*found;
}

QString Radio::addressOf(const QString& nameOrAddress) const {
  const auto asAddress = nameOrAddress.toUpper().replace(u'-', u':');
  for (const auto& device : devices_)
    if (device.name.compare(nameOrAddress, Qt::CaseInsensitive) == 0 || device.address == asAddress)
      return device.address;
  return {};
}

QStringList Radio::addresses() const {
  QStringList all;
  for (const auto& device : devices_) all.append(device.address);
  return all;
}

QString Radio::adapterAddressFor(const QString& computer) {
  if (!computers_.contains(computer)) computers_.append(computer);
  return u"02:5A:00:00:01:%1"_s.arg(computers_.indexOf(computer) + 1, 2, 16, QLatin1Char('0')).toUpper();
}

void Radio::setAsleep(const QString& computer, bool asleep) {
  asleep_.removeAll(computer);
  if (asleep) asleep_.append(computer);
  closeLinks(computer);
  for (const auto& address : addresses()) Q_EMIT changed(address);
}

bool Radio::isReachable(const QString& computer, const QString& address) const {
  if (!device(address) || asleep_.contains(computer)) return false;
  const auto isFreeFor = [&](const QString& owner) { return owner.isEmpty() || owner == computer; };
  return isFreeFor(holder(address)) && isFreeFor(connectedTo(address)) &&
         !suffers(FaultKind::asleep, computer, address) && !suffers(FaultKind::outOfRange, computer, address);
}

RadioAnswer Radio::bond(const QString& computer, const QString& address, bool passkey) {
  if (!isReachable(computer, address)) return RadioAnswer::unreachable;
  if (suffers(FaultKind::refusesPairing, computer, address)) return RadioAnswer::refused;
  if (suffers(FaultKind::wantsPasskey, computer, address) && !passkey) return RadioAnswer::passkeyWanted;
  bonds_.insert(address, computer);
  Q_EMIT changed(address);
  return RadioAnswer::accepted;
}

RadioAnswer Radio::openLink(const QString& computer, const QString& address) {
  if (!isReachable(computer, address)) return RadioAnswer::unreachable;
  if (missesThisAttempt(computer, address)) return RadioAnswer::missed;
  if (suffers(FaultKind::refusesConnection, computer, address)) return RadioAnswer::refused;
  if (suffers(FaultKind::bondForgotten, computer, address)) return RadioAnswer::bondRefused;
  links_.insert(address, computer);
  Q_EMIT changed(address);
  return RadioAnswer::accepted;
}

bool Radio::missesThisAttempt(const QString& computer, const QString& address) {
  if (!suffers(FaultKind::thirdAttempt, computer, address)) return false;
  if (++attempts_[computer + u' ' + address] <= missedAttempts) return true;
  spend(FaultKind::thirdAttempt, computer, address);
  return false;
}

void Radio::closeLink(const QString& computer, const QString& address) {
  if (connectedTo(address) != computer) return;
  links_.remove(address);
  Q_EMIT changed(address);
}

void Radio::closeLinks(const QString& computer) {
  for (const auto& address : addresses()) closeLink(computer, address);
}

void Radio::release(const QString& computer, const QString& address) {
  const auto wasLinked = connectedTo(address) == computer && links_.remove(address) > 0;
  const auto wasBonded = holder(address) == computer && bonds_.remove(address) > 0;
  if (wasLinked || wasBonded) Q_EMIT changed(address);
}

void Radio::inject(const Fault& fault) {
  faults_.push_back(fault);
  std::erase_if(spent_, [&](const Spent& spent) { return spent.kind == fault.kind; });
  if (fault.kind == FaultKind::thirdAttempt) attempts_.clear();
  dropUnreachableLinks();
  announceFaults();
}

void Radio::lift(const Fault& fault) {
  std::erase(faults_, fault);
  announceFaults();
}

void Radio::liftAll() {
  faults_.clear();
  announceFaults();
}

bool Radio::suffers(FaultKind kind, const QString& computer, const QString& address) const {
  if (std::ranges::find(spent_, Spent{kind, computer, address}) != spent_.end()) return false;
  return std::ranges::any_of(
      faults_, [&](const Fault& fault) { return fault.kind == kind && applies(fault, computer, address); });
}

bool Radio::applies(const Fault& fault, const QString& computer, const QString& address) const {
  if (!fault.computer.isEmpty() && fault.computer.compare(computer, Qt::CaseInsensitive) != 0) return false;
  return fault.device.isEmpty() || address.isEmpty() || addressOf(fault.device) == address;
}

void Radio::spend(FaultKind kind, const QString& computer, const QString& address) {
  spent_.push_back({kind, computer, address});
}

void Radio::dropUnreachableLinks() {
  for (const auto& address : addresses()) {
    const auto computer = connectedTo(address);
    if (!computer.isEmpty() && !isReachable(computer, address)) closeLink(computer, address);
  }
}

// A device that wakes up or comes into range must be found by whoever is looking for it.
void Radio::announceFaults() {
  Q_EMIT faultsChanged();
  for (const auto& address : addresses()) Q_EMIT changed(address);
}

}  // namespace zolvex::lab
