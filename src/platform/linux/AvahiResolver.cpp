#include "platform/linux/AvahiResolver.h"

#include "platform/linux/AvahiDaemon.h"
#include "platform/linux/AvahiNames.h"

#include <QPointer>

#include <algorithm>
#include <array>
#include <chrono>
#include <net/if.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

const auto serverInterface = u"org.freedesktop.Avahi.Server2"_s;
const auto resolverInterface = u"org.freedesktop.Avahi.ServiceResolver"_s;

constexpr uint noFlags = 0;
constexpr int foundArguments = 11;

bool isLinkLocal(const std::string& address) {
  return address.starts_with("fe80:") || address.starts_with("169.254.");
}

/// The daemon leaves the scope out, without which a link-local IPv6 address leads nowhere.
std::string withScope(std::string address, int interface) {
  if (!address.starts_with("fe80:")) return address;
  std::array<char, IF_NAMESIZE> name{};
  const auto* known = if_indextoname(static_cast<unsigned>(interface), name.data());
  return address + "%" + (known ? known : std::to_string(interface));
}

}  // namespace

AvahiResolver::AvahiResolver(AvahiDaemon& daemon, Service service, Seconds limit, Resolved resolved)
    : daemon_(daemon), service_(std::move(service)), resolved_(std::move(resolved)) {
  for (const int protocol : {avahi::ipv4, avahi::ipv6}) prepare(protocol);
  limit_.setSingleShot(true);
  ipv4Wait_.setSingleShot(true);
  connect(&limit_, &QTimer::timeout, this, [this] { limitReached(); });
  connect(&ipv4Wait_, &QTimer::timeout, this, [this] { report(); });
  limit_.start(std::chrono::ceil<std::chrono::milliseconds>(limit));
}

AvahiResolver::~AvahiResolver() {
  free();
}

void AvahiResolver::prepare(int addressProtocol) {
  // The context is the daemon, not this object: what the daemon makes for us must be freed also when we are gone.
  daemon_.callServer(serverInterface, u"ServiceResolverPrepare"_s,
                     {avahi::anyInterface, avahi::anyProtocol, service_.name, service_.type, service_.domain,
                      addressProtocol, noFlags},
                     &daemon_,
                     [this, alive = QPointer(this), &daemon = daemon_, addressProtocol](const QDBusMessage& reply) {
                       const auto path = avahi::pathIn(reply);
                       if (path.isEmpty()) return;
                       alive ? start(addressProtocol, path) : daemon.tell(path, resolverInterface, u"Free"_s);
                     });
}

void AvahiResolver::start(int addressProtocol, const QString& path) {
  lookups_.at(static_cast<std::size_t>(addressProtocol)).path = path;
  daemon_.listen(path, resolverInterface, u"Found"_s, this, SLOT(found(QDBusMessage)));
  daemon_.listen(path, resolverInterface, u"Failure"_s, this, SLOT(failure(QDBusMessage)));
  daemon_.tell(path, resolverInterface, u"Start"_s);
}

AvahiResolver::Lookup* AvahiResolver::lookupAt(const QString& path) {
  const auto lookup =
      std::find_if(lookups_.begin(), lookups_.end(), [&](const Lookup& each) { return each.path == path; });
  return lookup == lookups_.end() ? nullptr : &*lookup;
}

void AvahiResolver::found(const QDBusMessage& message) {
  const auto arguments = message.arguments();
  auto* lookup = lookupAt(message.path());
  if (!lookup || arguments.size() != foundArguments) return;
  lookup->address = withScope(arguments.at(7).toString().toStdString(), arguments.at(0).toInt());
  lookup->port = static_cast<std::uint16_t>(arguments.at(8).toUInt());
  settle();
}

/// Nothing (any more) for this address family.
void AvahiResolver::failure(const QDBusMessage& message) {
  auto* lookup = lookupAt(message.path());
  if (!lookup) return;
  lookup->address.reset();
  report();
}

void AvahiResolver::settle() {
  if (lookups_.at(avahi::ipv4).address || lastReport_) return report();
  if (!ipv4Wait_.isActive()) ipv4Wait_.start(waitForIpv4);
}

void AvahiResolver::report() {
  Report now;
  for (const auto& lookup : lookups_) {
    if (!lookup.address) continue;
    if (now.first.empty()) now.second = lookup.port;
    now.first.push_back(*lookup.address);
  }
  std::stable_partition(now.first.begin(), now.first.end(), [](const auto& address) { return !isLinkLocal(address); });
  if (now.first.empty() || now == lastReport_) return;
  limit_.stop();
  ipv4Wait_.stop();
  lastReport_ = now;
  resolved_(now.first, now.second);
}

void AvahiResolver::limitReached() {
  ipv4Wait_.isActive() ? report() : free();
}

void AvahiResolver::free() {
  for (auto& lookup : lookups_) {
    if (lookup.path.isEmpty()) continue;
    daemon_.ignore(lookup.path, resolverInterface, u"Found"_s, this, SLOT(found(QDBusMessage)));
    daemon_.ignore(lookup.path, resolverInterface, u"Failure"_s, this, SLOT(failure(QDBusMessage)));
    daemon_.tell(lookup.path, resolverInterface, u"Free"_s);
    lookup = {};
  }
}

}  // namespace zolvex
