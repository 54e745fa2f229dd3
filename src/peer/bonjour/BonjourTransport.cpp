#include "peer/bonjour/BonjourTransport.h"

#include "core/Log.h"
#include "core/Text.h"
#include "peer/PeerIdentity.h"
#include "peer/bonjour/TcpListener.h"
#include "peer/bonjour/TcpRequest.h"

#include <string>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("Bonjour");

std::string displayName(const LocalHostName& hostName) {
  const auto localized = hostName.localizedName();
  const auto name = localized ? localized : hostName.name();
  return std::string(trimmed(name.value_or("")));
}

}  // namespace

BonjourTransport::BonjourTransport(MainQueue& mainQueue, NetworkThread& network, ServicePublisher& publisher,
                                   ServiceBrowser& browser, UserDefaults& defaults, LocalHostName& hostName)
    : mainQueue_(mainQueue),
      network_(network),
      publisher_(publisher),
      browser_(browser),
      defaults_(defaults),
      hostName_(hostName) {}

BonjourTransport::~BonjourTransport() {
  stop();
}

void BonjourTransport::start(PeerTransportDelegate& delegate) {
  logger.info("Starting Bonjour transport");
  run_.emplace();
  if (startListener(delegate)) startBrowsing(delegate);
}

bool BonjourTransport::startListener(PeerTransportDelegate& delegate) {
  TcpListener::Events events;
  events.ready = run_->guard([this](std::uint16_t port) { publish(port); });
  events.failed = run_->guard([this] { publisher_.unpublish(); });
  events.received = run_->guard([&delegate](const std::string& text, std::shared_ptr<ReplyChannel> channel) {
    delegate.peerTransportReceived(text, std::move(channel));
  });
  listener_ = std::make_shared<TcpListener>(network_, mainQueue_, std::move(events));
  if (const auto error = listener_->open()) {
    logger.error("Failed to create listener: {}", *error);
    listener_.reset();
    return false;
  }
  listener_->start();
  return true;
}

void BonjourTransport::publish(std::uint16_t port) {
  const auto identity = peerIdentity(defaults_);
  publisherDelegate_.emplace([this](const std::optional<std::string>& name) {
    if (browserDelegate_) browserDelegate_->setOwnName(name);
  });
  publisher_.publish({peerServiceName(identity), std::string(peerProtocol::serviceType),
                      std::string(peerProtocol::serviceDomain), port, txtRecord()},
                     *publisherDelegate_);
  // The localized name is often not known yet.
  nameChange_ = hostName_.changed.observe([this] { publisher_.updateTxtRecord(txtRecord()); });
}

std::map<std::string, std::string> BonjourTransport::txtRecord() const {
  return {{"id", peerIdentity(defaults_)}, {"name", displayName(hostName_)}};
}

void BonjourTransport::startBrowsing(PeerTransportDelegate& delegate) {
  browserDelegate_.emplace(browser_, mainQueue_, delegate);
  browser_.searchForServices(std::string(peerProtocol::serviceType), std::string(peerProtocol::serviceDomain),
                             *browserDelegate_);
}

void BonjourTransport::stop() {
  if (!run_) return;
  run_.reset();
  if (const auto listener = std::exchange(listener_, nullptr)) listener->cancel();
  nameChange_.cancel();
  publisher_.unpublish();
  browser_.stop();
  publisherDelegate_.reset();
  browserDelegate_.reset();
}

void BonjourTransport::send(const NetworkDevice& peer, DeviceCommand command, Completion completion) {
  if (!peer.host || !peer.port) {
    logger.error("Peer device has no host/port");
    return completion(PeerReply::failed());
  }
  std::erase_if(requests_, [](const auto& request) { return request.expired(); });
  requests_.push_back(TcpRequest::send(network_, mainQueue_, {*peer.host, *peer.port}, command, std::move(completion)));
}

void BonjourTransport::timeOutRequests() {
  for (const auto& weak : std::exchange(requests_, {}))
    if (const auto request = weak.lock()) request->timeOut();
}

void BonjourTransport::reportDiscoveredAgain() {
  if (browserDelegate_) browserDelegate_->reportDiscoveredAgain();
}

}  // namespace zolvex
