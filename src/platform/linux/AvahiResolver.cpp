#include "platform/linux/AvahiResolver.h"

#include "platform/linux/AvahiDaemon.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <net/if.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace zolvex {

namespace {

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
    : daemon_(daemon),
      service_(std::move(service)),
      limitOfOneTry_(std::chrono::ceil<std::chrono::milliseconds>(limit)),
      resolved_(std::move(resolved)) {
  for (auto* timer : {&limit_, &ipv4Wait_, &pause_}) timer->setSingleShot(true);
  QObject::connect(&limit_, &QTimer::timeout, &limit_, [this] { limitReached(); });
  QObject::connect(&ipv4Wait_, &QTimer::timeout, &ipv4Wait_, [this] { report(); });
  QObject::connect(&pause_, &QTimer::timeout, &pause_, [this] { lookUp(); });
  lookUp();
}

void AvahiResolver::lookUp() {
  limit_.start(limitOfOneTry_);
  for (const int protocol : {avahi::ipv4, avahi::ipv6})
    if (!lookups_.at(static_cast<std::size_t>(protocol)).address) begin(protocol);
}

/// Each family's address is asked for over that family: a daemon as it comes does not publish IPv4 addresses over IPv6
/// (publish-a-on-ipv6=no), and whoever asks there waits in vain.
void AvahiResolver::begin(int addressProtocol) {
  auto& lookup = lookups_.at(static_cast<std::size_t>(addressProtocol));
  AvahiObject::Events events;
  events.signal = [this, &lookup](const QDBusMessage& signal) { signalled(lookup, signal); };
  events.failed = [this, &lookup](const QString&) { lost(lookup); };
  lookup.object =
      std::make_unique<AvahiObject>(daemon_, u"ServiceResolver"_s,
                                    QVariantList{avahi::anyInterface, addressProtocol, service_.name, service_.type,
                                                 service_.domain, addressProtocol, avahi::noFlags},
                                    std::move(events));
}

void AvahiResolver::signalled(Lookup& lookup, const QDBusMessage& signal) {
  const auto arguments = signal.arguments();
  signal.member() == u"Found"_s && arguments.size() == foundArguments ? found(lookup, arguments) : lost(lookup);
}

void AvahiResolver::found(Lookup& lookup, const QVariantList& arguments) {
  lookup.address = withScope(arguments.at(7).toString().toStdString(), arguments.at(0).toInt());
  lookup.port = static_cast<std::uint16_t>(arguments.at(8).toUInt());
  settle();
}

/// Nothing (any more) for this address family. When there never was anything the look-up is left open: most services
/// have no address of the one family or the other.
void AvahiResolver::lost(Lookup& lookup) {
  if (std::exchange(lookup.address, std::nullopt)) {
    lookup.object.reset();
    lookUpAgainLater();
  }
  report();
}

void AvahiResolver::settle() {
  if (lookups_.at(avahi::ipv4).address || lastReport_) return report();
  if (!ipv4Wait_.isActive()) ipv4Wait_.start(waitForIpv4);
}

void AvahiResolver::report() {
  if (!isAnythingFound()) return lastReport_.reset();
  limit_.stop();
  ipv4Wait_.stop();
  nextPause_ = firstPause;
  Report now;
  for (const auto& lookup : lookups_) {
    if (!lookup.address) continue;
    if (now.first.empty()) now.second = lookup.port;
    now.first.push_back(*lookup.address);
  }
  std::stable_partition(now.first.begin(), now.first.end(), [](const auto& address) { return !isLinkLocal(address); });
  if (now == lastReport_) return;
  lastReport_ = now;
  resolved_(now.first, now.second);
}

void AvahiResolver::limitReached() {
  if (isAnythingFound()) return report();
  for (auto& lookup : lookups_) lookup.object.reset();
  lookUpAgainLater();
}

void AvahiResolver::lookUpAgainLater() {
  if (pause_.isActive()) return;
  pause_.start(nextPause_);
  nextPause_ = std::min(nextPause_ * 2, longestPause);
}

bool AvahiResolver::isAnythingFound() const {
  return std::any_of(lookups_.begin(), lookups_.end(), [](const auto& lookup) { return lookup.address.has_value(); });
}

}  // namespace zolvex
