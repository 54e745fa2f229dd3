#pragma once

#include "core/Lifetime.h"
#include "core/LocalHostName.h"
#include "core/MainQueue.h"
#include "core/UserDefaults.h"
#include "peer/PeerTransport.h"
#include "peer/bonjour/DnsSd.h"
#include "peer/bonjour/NetworkThread.h"
#include "peer/bonjour/ServiceBrowserDelegate.h"
#include "peer/bonjour/ServicePublisherDelegate.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zolvex {

class TcpListener;
class TcpRequest;

/// The peer link over the local network. Started, it listens on a TCP port, publishes that port as a DNS-SD service
/// once the listener is ready, and browses for the services of others. Each request is a TCP connection of its own and
/// needs none of this, so requests are sent while stopped, too.
/// Owned by the application; its collaborators outlive it. Main thread; the TCP work runs on the network thread.
class BonjourTransport final : public PeerTransport {
 public:
  BonjourTransport(MainQueue& mainQueue, NetworkThread& network, ServicePublisher& publisher, ServiceBrowser& browser,
                   UserDefaults& defaults, LocalHostName& hostName);
  ~BonjourTransport() override;

  void start(PeerTransportDelegate& delegate) override;
  void stop() override;
  void send(const NetworkDevice& peer, DeviceCommand command, Completion completion) override;
  void timeOutRequests() override;
  void reportDiscoveredAgain() override;

 private:
  bool startListener(PeerTransportDelegate& delegate);
  void publish(std::uint16_t port);
  std::map<std::string, std::string> txtRecord() const;
  void startBrowsing(PeerTransportDelegate& delegate);

  MainQueue& mainQueue_;
  NetworkThread& network_;
  ServicePublisher& publisher_;
  ServiceBrowser& browser_;
  UserDefaults& defaults_;
  LocalHostName& hostName_;

  std::vector<std::weak_ptr<TcpRequest>> requests_;  // under way, or ended since the last one began
  std::shared_ptr<TcpListener> listener_;
  std::optional<ServicePublisherDelegate> publisherDelegate_;
  Subscription nameChange_;  // while published
  std::optional<ServiceBrowserDelegate> browserDelegate_;
  std::optional<Lifetime> run_;  // from start() to stop(); what the listener reports after that is not heard
};

}  // namespace zolvex
