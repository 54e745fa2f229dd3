#include "platform/linux/HostName1.h"

#include "core/Text.h"
#include "platform/linux/BusLink.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <array>
#include <climits>
#include <unistd.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

constexpr auto service = "org.freedesktop.hostname1"_L1;
constexpr auto path = "/org/freedesktop/hostname1"_L1;
constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties"_L1;
constexpr auto busService = "org.freedesktop.DBus"_L1;
constexpr auto busPath = "/org/freedesktop/DBus"_L1;

}  // namespace

HostName1::HostName1(BusLink& systemBus)
    : systemBus_(systemBus), arrival_(systemBus.arrived.observe([this] { busArrived(); })) {
  if (systemBus_.isConnected()) busArrived();
}

std::optional<std::string> HostName1::name() const {
  std::array<char, HOST_NAME_MAX + 1> buffer{};
  if (gethostname(buffer.data(), buffer.size() - 1) != 0 || buffer.front() == '\0') return std::nullopt;
  return std::string(buffer.data());
}

void HostName1::busArrived() {
  // From any sender: naming the service would make a blocking call, and the signal only makes us ask again.
  systemBus_.connection().connect(QString(), path, propertiesInterface, u"PropertiesChanged"_s, this, SLOT(ask()));
  systemBus_.connection().connect(QString(), busPath, busService, u"NameOwnerChanged"_s, {QString(service)}, QString(),
                                  this, SLOT(ownerChanged(QString, QString, QString)));
  ask();
}

// A service that ends, as this one does when nobody needs it, is left in peace: to ask would start it again.
void HostName1::ownerChanged(const QString& name, const QString&, const QString& now) {
  if (name == service && !now.isEmpty()) ask();
}

void HostName1::ask() {
  if (!systemBus_.isConnected()) return;
  auto call = QDBusMessage::createMethodCall(service, path, propertiesInterface, u"Get"_s);
  call << QString(service) << u"PrettyHostname"_s;
  auto* watcher = new QDBusPendingCallWatcher(systemBus_.connection().asyncCall(call), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<QDBusVariant> reply = *watcher;
    if (!reply.isError()) answered(reply.value().variant().toString());
  });
}

void HostName1::answered(const QString& prettyName) {
  const auto name = prettyName.toStdString();
  const auto before = std::exchange(prettyName_, trimmed(name).empty() ? std::nullopt : std::optional(name));
  if (prettyName_ != before) changed.emit();
}

}  // namespace zolvex
