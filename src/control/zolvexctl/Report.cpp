#include "control/zolvexctl/Report.h"

#include "control/ControlTypes.h"
#include "core/Text.h"

#include <QCollator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTime>
#include <fmt/core.h>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace zolvex::control::report {

namespace {

std::string timeNow() {
  return QTime::currentTime().toString(u"HH:mm:ss.zzz"_s).toStdString();
}

std::string yesNo(bool value) {
  return value ? "yes" : "no";
}

std::string line(const DeviceRow& device) {
  return fmt::format("{}  {}, {}", shown(device.address), shown(device.name),
                     device.isConnected ? "connected" : "not connected");
}

std::string line(const PeerRow& peer) {
  auto text = fmt::format("{}  {}", shown(peer.id), shown(peer.name));
  if (!peer.host.isEmpty()) text += fmt::format(", {} port {}", shown(peer.host), peer.port);
  return text + (peer.isReachable ? ", reachable" : ", waiting");
}

template <class Rows>
std::string lines(const QVariant& value, std::string_view indent) {
  std::string text;
  for (const auto& row : qdbus_cast<Rows>(value)) text += fmt::format("{}{}\n", indent, line(row));
  return text;
}

QJsonObject json(const DeviceRow& device) {
  return {{u"address"_s, device.address}, {u"name"_s, device.name}, {u"isConnected"_s, device.isConnected}};
}

QJsonObject json(const PairedRow& device) {
  return {{u"address"_s, device.address},
          {u"name"_s, device.name},
          {u"isConnected"_s, device.isConnected},
          {u"isManaged"_s, device.isManaged}};
}

QJsonObject json(const PeerRow& peer) {
  return {{u"id"_s, peer.id},
          {u"name"_s, peer.name},
          {u"host"_s, peer.host.isEmpty() ? QJsonValue() : QJsonValue(peer.host)},
          {u"port"_s, peer.port == 0 ? QJsonValue() : QJsonValue(peer.port)},
          {u"isActive"_s, peer.isActive},
          {u"isReachable"_s, peer.isReachable},
          {u"lastReachable"_s, peer.lastReachable == 0 ? QJsonValue() : QJsonValue(peer.lastReachable)}};
}

template <class Rows>
QJsonArray jsonArray(const Rows& rows) {
  QJsonArray array;
  for (const auto& row : rows) array.append(json(row));
  return array;
}

QJsonValue jsonValue(const QString& name, const QVariant& value) {
  if (name == "Devices"_L1) return jsonArray(qdbus_cast<DeviceRows>(value));
  if (name == "RegisteredPeers"_L1 || name == "DiscoveredPeers"_L1) return jsonArray(qdbus_cast<PeerRows>(value));
  return QJsonValue::fromVariant(value);
}

/// "OwnershipState" becomes "ownershipState".
QString jsonKey(const QString& property) {
  return property.left(1).toLower() + property.mid(1);
}

std::string compact(const QJsonDocument& document) {
  return document.toJson(QJsonDocument::Compact).toStdString() + "\n";
}

PairedRows sorted(const QVariant& devices) {
  auto rows = qdbus_cast<PairedRows>(devices);
  QCollator order;
  order.setNumericMode(true);
  order.setCaseSensitivity(Qt::CaseInsensitive);
  std::stable_sort(rows.begin(), rows.end(), [&order](const PairedRow& a, const PairedRow& b) {
    return a.isManaged != b.isManaged ? a.isManaged : order.compare(a.name, b.name) < 0;
  });
  return rows;
}

/// Without those that are registered: one that has restarted is found again, and there is nothing to add.
QVariant newPeers(const QVariantMap& state) {
  const auto registered = qdbus_cast<PeerRows>(state[u"RegisteredPeers"_s]);
  auto found = qdbus_cast<PeerRows>(state[u"DiscoveredPeers"_s]);
  found.removeIf([&registered](const PeerRow& row) {
    return std::any_of(registered.begin(), registered.end(),
                       [&row](const PeerRow& known) { return known.id == row.id; });
  });
  return QVariant::fromValue(found);
}

}  // namespace

std::string shown(const QString& text) {
  const auto bytes = text.toStdString();
  return escapedForLog(bytes, bytes.size());
}

std::string status(const QVariantMap& state) {
  auto text = fmt::format("State:      {}\n", shown(state[u"OwnershipState"_s].toString()));
  if (const auto result = state[u"LastResult"_s].toString(); !result.isEmpty())
    text += fmt::format("Status:     {}\n", shown(result));
  text += fmt::format("Switching:  {}\n", yesNo(state[u"IsSwitching"_s].toBool()));
  const auto peer = lines<PeerRows>(state[u"RegisteredPeers"_s], "");
  text += fmt::format("Peer:       {}", peer.empty() ? "No peer added\n" : peer);
  text += fmt::format("Transport:  {}\n", shown(state[u"TransportMode"_s].toString()));
  const auto devices = lines<DeviceRows>(state[u"Devices"_s], "  ");
  return text + (devices.empty() ? "Devices:    none; choose them with: zolvexctl manage ADDRESS...\n"
                                 : "Devices:\n" + devices);
}

std::string statusJson(const QVariantMap& state) {
  QJsonObject object;
  for (auto item = state.begin(); item != state.end(); ++item)
    object.insert(jsonKey(item.key()), jsonValue(item.key(), item.value()));
  return compact(QJsonDocument(object));
}

std::string pairedDevices(const QVariant& devices) {
  std::string text;
  for (const auto& device : sorted(devices))
    text +=
        fmt::format("{} {}\n", device.isManaged ? '*' : ' ', line({device.address, device.name, device.isConnected}));
  if (!text.empty()) return text;
  return "No paired Bluetooth devices found\n"
         "Pair your Magic Keyboard and Trackpad via System Settings first, then come back here.\n";
}

std::string pairedDevicesJson(const QVariant& devices) {
  return compact(QJsonDocument(jsonArray(sorted(devices))));
}

std::string peers(const QVariantMap& state) {
  const auto registered = lines<PeerRows>(state[u"RegisteredPeers"_s], "  ");
  const auto discovered = lines<PeerRows>(newPeers(state), "  ");
  auto text = registered.empty() ? "Peer:   No peer added\n" : "Peer:\n" + registered;
  if (!discovered.empty()) return text + "Found:\n" + discovered + "Add one with: zolvexctl add-peer ID\n";
  return text + (registered.empty() ? "Found:  none yet. Searching for peer...\n" : "");
}

std::string peersJson(const QVariantMap& state) {
  const QJsonObject object{
      {u"registeredPeers"_s, jsonValue(u"RegisteredPeers"_s, state[u"RegisteredPeers"_s])},
      {u"discoveredPeers"_s, jsonValue(u"DiscoveredPeers"_s, state[u"DiscoveredPeers"_s])},
  };
  return compact(QJsonDocument(object));
}

std::string settings(const QVariantMap& settings) {
  std::string text;
  for (auto item = settings.begin(); item != settings.end(); ++item)
    text += fmt::format("{} = {}", shown(item.key()), settingText(item.value()));
  return text;
}

std::string settingsJson(const QVariantMap& settings) {
  return compact(QJsonDocument(QJsonObject::fromVariantMap(settings)));
}

std::string settingText(const QVariant& value) {
  return shown(value.toString()) + "\n";
}

std::string settingJson(const QVariant& value) {
  auto text = compact(QJsonDocument(QJsonArray{QJsonValue::fromVariant(value)}));
  return text.substr(1, text.size() - 3) + "\n";  // without the brackets
}

std::string change(const QString& name, const QVariant& value) {
  auto text = fmt::format("{} {}: ", timeNow(), shown(name));
  if (name == "Devices"_L1) return text + "\n" + lines<DeviceRows>(value, "  ");
  if (name == "RegisteredPeers"_L1 || name == "DiscoveredPeers"_L1) return text + "\n" + lines<PeerRows>(value, "  ");
  return text + shown(value.toString()) + "\n";
}

std::string changeJson(const QString& name, const QVariant& value) {
  return compact(QJsonDocument(QJsonObject{{jsonKey(name), jsonValue(name, value)}}));
}

std::string logLine(const QString& category, const QString& message) {
  return fmt::format("{} {}: {}\n", timeNow(), shown(category), shown(message));
}

std::string logLineJson(const QString& category, const QString& message) {
  const QJsonObject line{{u"category"_s, category}, {u"message"_s, message}};
  return compact(QJsonDocument(QJsonObject{{u"logged"_s, line}}));
}

}  // namespace zolvex::control::report
