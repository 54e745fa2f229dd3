#include "peer/bonjour/ServiceBrowserDelegate.h"

#include "core/Log.h"
#include "core/Text.h"

#include <algorithm>

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");
constexpr std::string_view servicePrefix = "Zolvex-";
constexpr std::string_view collisionMark = " #";

bool isNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string_view withoutCollisionSuffix(std::string_view name) {
  const auto mark = name.rfind(collisionMark);
  const auto isSuffix = mark != std::string_view::npos && isNumber(name.substr(mark + collisionMark.size()));
  return isSuffix ? name.substr(0, mark) : name;
}

}  // namespace

std::optional<std::string> peerIdFromServiceName(std::string_view name) {
  if (!name.starts_with(servicePrefix)) return std::nullopt;
  const auto piece = trimmed(withoutCollisionSuffix(name.substr(servicePrefix.size())));
  return piece.empty() ? std::nullopt : std::optional(uppercased(piece));
}

ServiceBrowserDelegate::ServiceBrowserDelegate(ServiceBrowser& browser, const MainQueue& mainQueue,
                                               PeerTransportDelegate& store)
    : browser_(browser), mainQueue_(mainQueue), store_(store) {}

void ServiceBrowserDelegate::setOwnName(const std::optional<std::string>& name) {
  ownName_ = name;
  if (!name) return;
  takeOver(*name);
  for (const auto& [found, service] : services_)
    if (!service.host && !mayBeOwn(found, service)) browser_.resolve(found, resolveLimit);
}

/// Whoever had the name before us has it no longer: the two computers have swapped names, or the other one has gone.
void ServiceBrowserDelegate::takeOver(const std::string& name) {
  if (const auto own = services_.find(name); own != services_.end()) own->second.host.reset();
  if (const auto known = serviceIDsByName_.extract(name)) reportGone(known.mapped());
}

void ServiceBrowserDelegate::reportDiscoveredAgain() {
  for (const auto& [name, id] : serviceIDsByName_) report(id, services_.at(name));
}

void ServiceBrowserDelegate::serviceFound(const std::string& name, bool isLocal) {
  logger.info("Service discovered: {}", escapedForLog(name));
  if (!peerIdFromServiceName(name)) return;
  auto& service = services_[name];
  service.isLocal = isLocal;
  if (!mayBeOwn(name, service)) browser_.resolve(name, resolveLimit);
}

bool ServiceBrowserDelegate::mayBeOwn(const std::string& name, const Service& service) const {
  return ownName_ ? *ownName_ == name : service.isLocal;
}

void ServiceBrowserDelegate::serviceResolved(const std::string& name, const std::vector<std::string>& addresses,
                                             std::uint16_t port) {
  const auto found = services_.find(name);
  const auto id = peerIdFromServiceName(name);
  if (found == services_.end() || !id || addresses.empty() || mayBeOwn(name, found->second)) return;
  found->second.host = addresses.front();
  found->second.port = port;
  serviceIDsByName_[name] = *id;
  report(*id, found->second);
  logger.info("Bonjour peer resolved");
}

/// Seen on the network now, so it counts as reachable until a request proves otherwise.
void ServiceBrowserDelegate::report(const std::string& id, const Service& service) {
  const auto now = mainQueue_.now();
  store_.peerTransportDiscovered({id, id, service.host, service.port, now, true, now});
}

void ServiceBrowserDelegate::serviceRemoved(const std::string& name) {
  logger.info("Service removed: {}", escapedForLog(name));
  services_.erase(name);
  const auto known = serviceIDsByName_.extract(name);
  reportGone(known ? known.mapped() : name);
}

/// A service with this id is gone.
void ServiceBrowserDelegate::reportGone(const std::string& id) {
  const auto namesake = std::find_if(serviceIDsByName_.begin(), serviceIDsByName_.end(),
                                     [&id](const auto& entry) { return entry.second == id; });
  if (namesake == serviceIDsByName_.end()) return store_.peerTransportLost(id);
  report(id, services_.at(namesake->first));  // the one that went may have taken its address
}

}  // namespace zolvex
