#include "lab/world/World.h"

#include "lab/EventWait.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace zolvex::lab {

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds appearLimit{20'000};
constexpr double releaseWhenInactive = -1.0;
constexpr int identityLength = 32;
constexpr int shortIdentityLength = 6;
const auto resolvedLine = u"Bonjour peer resolved"_s;
const QByteArray workerFlag = "--zolvex-bluetooth-worker";

QString asManagedAddress(QString address) {
  return address.replace(u':', u'-');
}

}  // namespace

World::World(WorldOptions options) : options_(std::move(options)) {
  for (const auto& device : magicDevices()) radio_.addDevice(device);
  for (const auto& name : options_.computers) {
    auto& desktop = *desktops_.emplace_back(std::make_unique<Desktop>(radio_, network_, name, options_.timing));
    desktop.setZolvex(options_.zolvex);
    connect(&desktop, &Desktop::logged, this, [this, name](const QString& source, const QString& text) {
      if (source == u"zolvex"_s && text.contains(resolvedLine) && !resolved_.contains(name)) resolved_.append(name);
    });
  }
}

World::~World() {
  stop();
}

bool World::fail(const QString& what) {
  error_ = what;
  return false;
}

Desktop& World::desktop(const QString& name) {
  if (auto* found = findDesktop(name)) return *found;
  qFatal("There is no computer %s", qUtf8Printable(name));
}

Desktop* World::findDesktop(const QString& name) {
  for (const auto& desktop : desktops_)
    if (desktop->name().compare(name, Qt::CaseInsensitive) == 0) return desktop.get();
  return nullptr;
}

QString World::problemWith(const Fault& fault) {
  if (!fault.device.isEmpty() && radio_.addressOf(fault.device).isEmpty())
    return u"there is no device \"%1\""_s.arg(fault.device);
  if (!fault.computer.isEmpty() && !findDesktop(fault.computer))
    return u"there is no computer \"%1\""_s.arg(fault.computer);
  return {};
}

bool World::start() {
  Q_EMIT progress(u"building the network of %1 computers"_s.arg(desktops_.size()));
  if (!network_.build(options_.computers)) return fail(network_.errorString());
  for (int index = 0; const auto& desktop : desktops_) {
    Q_EMIT progress(u"starting buses, Avahi and Bluetooth of %1"_s.arg(desktop->name()));
    if (!desktop->start()) return fail(desktop->errorString());
    if (!desktop->writeSettings(settingsOf(index++))) return fail(u"cannot write the settings"_s);
  }
  const auto isAvahiThere = [](const auto& desktop) { return desktop->isAvahiThere(); };
  return waitUntil([&] { return std::ranges::all_of(desktops_, isAvahiThere); }, appearLimit) ||
         fail(u"avahi-daemon did not start"_s);
}

QString World::identityOf(const QString& computer) {
  const auto digest = QCryptographicHash::hash(computer.toUtf8(), QCryptographicHash::Md5);
  return QString::fromLatin1(digest.toHex()).left(identityLength).toUpper();
}

// The first two are each other's peers; any more have the first one.
QString World::peerRecordFor(int index) const {
  const auto peer = options_.computers[index == 0 ? 1 : 0];
  const QJsonObject record{{u"id"_s, identityOf(peer).left(shortIdentityLength)},
                           {u"name"_s, peer},
                           {u"lastUpdated"_s, 0},
                           {u"isActive"_s, false}};
  return QString::fromUtf8(QJsonDocument(QJsonArray{record}).toJson(QJsonDocument::Compact));
}

bool World::isManaged(const QString& address) const {
  return options_.managedDevices.isEmpty() || options_.managedDevices.contains(radio_.device(address)->name);
}

QJsonObject World::settingsOf(int index) const {
  QJsonArray addresses;
  QJsonObject names;
  for (const auto& address : radio_.addresses()) {
    if (!isManaged(address)) continue;
    addresses.append(asManagedAddress(address));
    names.insert(asManagedAddress(address), radio_.device(address)->name);
  }
  // Unless it is automatic, only what the script of a demo or a test asks for is to happen.
  return {{u"peerIdentityID"_s, identityOf(options_.computers[index])},
          {u"networkDevices"_s, peerRecordFor(index)},
          {u"managedDeviceAddresses"_s, addresses},
          {u"deviceNames"_s, names},
          {u"transportMode"_s, options_.transport},
          {u"autoConnect"_s, options_.isAutomatic},
          {u"autoRelease"_s, options_.isAutomatic},
          {u"autoReleaseHours"_s, releaseWhenInactive}};
}

bool World::startZolvex() {
  Q_EMIT progress(u"starting Zolvex"_s);
  resolved_.clear();
  for (const auto& desktop : desktops_)
    if (!desktop->isZolvexRunning() && !desktop->startZolvex()) return fail(desktop->errorString());
  for (const auto& desktop : desktops_)
    if (!waitUntil([&] { return desktop->control().isThere() || !desktop->zolvex()->isRunning(); }, appearLimit) ||
        !desktop->control().isThere())
      return fail(u"%1: Zolvex does not answer on the session bus"_s.arg(desktop->name()));
  return true;
}

bool World::waitForPeers(std::chrono::milliseconds limit) {
  if (options_.transport == u"bluetooth"_s) return true;
  Q_EMIT progress(u"waiting until the computers have found each other"_s);
  return waitUntil([this] { return resolved_.size() == options_.computers.size(); }, limit) ||
         fail(u"the computers did not find each other"_s);
}

void World::stop() {
  for (const auto& desktop : desktops_) desktop->askToEnd();
  for (const auto& desktop : desktops_) desktop->stop();
}

void World::giveDevicesTo(const QString& computer) {
  for (const auto& address : radio_.addresses()) {
    radio_.release(radio_.holder(address), address);
    radio_.bond(computer, address);
    radio_.openLink(computer, address);
  }
}

int World::devicesOf(const QString& computer, const QStringList& addresses) const {
  int count = 0;
  for (const auto& address : addresses.isEmpty() ? radio_.addresses() : addresses)
    if (radio_.holder(address) == computer && radio_.connectedTo(address) == computer) ++count;
  return count;
}

QStringList World::missingAt(const QString& computer) const {
  QStringList texts;
  for (const auto& address : radio_.addresses()) {
    const auto holder = radio_.holder(address);
    const auto isConnected = !radio_.connectedTo(address).isEmpty();
    if (holder == computer && radio_.connectedTo(address) == computer) continue;
    const auto where = holder.isEmpty() ? u"nobody's"_s : u"%1's"_s.arg(holder);
    texts.append(u"%1 is %2%3"_s.arg(radio_.device(address)->name, where, isConnected ? u""_s : u", not connected"_s));
  }
  return texts;
}

bool World::hasComeToRest() const {
  const auto isSwitching = [](const auto& one) { return !one->session().isAsleep() && one->control().isSwitching(); };
  return std::ranges::none_of(desktops_, isSwitching) && workerProcesses().isEmpty();
}

bool World::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  bool holds = false;
  lab::waitUntil([&] { return (holds = condition()) || isInterrupted_; }, limit);
  return holds;
}

QList<qint64> World::workerProcesses() {
  QList<qint64> found;
  for (const auto& entry : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
    bool isNumber = false;
    const auto number = entry.toLongLong(&isNumber);
    QFile file(u"/proc/%1/cmdline"_s.arg(entry));
    if (isNumber && file.open(QIODevice::ReadOnly) && file.readAll().split('\0').contains(workerFlag))
      found.append(number);
  }
  return found;
}

}  // namespace zolvex::lab
