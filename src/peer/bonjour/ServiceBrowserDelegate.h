#pragma once

#include "core/MainQueue.h"
#include "peer/PeerTransport.h"
#include "peer/bonjour/DnsSd.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zolvex {

/// The `id` in the name of a peer's service: the upper-cased piece after "Zolvex-", without the " #2" that tells
/// apart services of the same name. None when the name is not of that form.
std::optional<std::string> peerIdFromServiceName(std::string_view name);

/// Turns the services on the network into peer records: a found service is resolved, a resolved one becomes a record
/// for the registry, a removed one is reported as lost unless another one has the same id. Our own service shows up
/// among them and is left out: it is the one with the name we got, of which there is only one on the network. While we
/// have no name, services that this computer seems to publish wait: one of another computer looks like that, too, while
/// we still contend for its name.
/// Owned by the transport, one for each start. Main thread.
class ServiceBrowserDelegate final : public ServiceBrowserListener {
 public:
  static constexpr Seconds resolveLimit{5.0};

  ServiceBrowserDelegate(ServiceBrowser& browser, const MainQueue& mainQueue, PeerTransportDelegate& store);

  /// The name under which our own service is on the network; none while it is not.
  void setOwnName(const std::optional<std::string>& name);

  void reportDiscoveredAgain();

  void serviceFound(const std::string& name, bool isLocal) override;
  void serviceResolved(const std::string& name, const std::vector<std::string>& addresses, std::uint16_t port) override;
  void serviceRemoved(const std::string& name) override;

 private:
  struct Service {
    bool isLocal = false;
    std::optional<std::string> host;  // once resolved
    std::uint16_t port = 0;
  };

  void takeOver(const std::string& name);
  void reportGone(const std::string& id);
  bool mayBeOwn(const std::string& name, const Service& service) const;
  void report(const std::string& id, const Service& service);

  ServiceBrowser& browser_;
  const MainQueue& mainQueue_;
  PeerTransportDelegate& store_;
  std::optional<std::string> ownName_;
  std::map<std::string, Service> services_;              // by name
  std::map<std::string, std::string> serviceIDsByName_;  // of those that have been reported
};

}  // namespace zolvex
