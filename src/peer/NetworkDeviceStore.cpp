#include "peer/NetworkDeviceStore.h"

#include "core/Log.h"
#include "core/SettingsKeys.h"
#include "core/Text.h"

#include <algorithm>
#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("NetworkDeviceStore");

auto withId(const std::string& id) {
  return [&id](const NetworkDevice& device) { return device.id == id; };
}

/// Makes room for one more: of those no longer to be seen the one known longest goes, else the one known longest.
void makeRoom(std::vector<NetworkDevice>& discovered) {
  if (discovered.size() < NetworkDeviceStore::maximumDiscovered) return;
  const auto lost =
      std::find_if(discovered.begin(), discovered.end(), [](const auto& device) { return !device.isActive; });
  discovered.erase(lost == discovered.end() ? discovered.begin() : lost);
}

void setReachability(NetworkDevice& device, bool reachable, Date now) {
  device.isActive = reachable;
  device.lastUpdated = now;
  device.lastReachableAt = reachable ? std::optional(now) : std::nullopt;
}

/// Whether more than the time of the verdict is new.
bool isNews(const NetworkDevice& before, bool reachable, Date now) {
  return before.isActive != reachable || NetworkDeviceStore::isReachable(before, now) != reachable;
}

}  // namespace

NetworkDeviceStore::NetworkDeviceStore(MainQueue& mainQueue, UserDefaults& defaults, Transports transports)
    : mainQueue_(mainQueue), defaults_(defaults), transports_(transports) {}

NetworkDeviceStore::~NetworkDeviceStore() {
  stopTransport();
}

void NetworkDeviceStore::start(PeerCommandHandler& handler) {
  handler_ = &handler;
  load();
  startTransport();
  settings_ = defaults_.changed.observe([this] { settingsChanged(); });
  scheduleHealthCheck(firstHealthCheckDelay);
}

const NetworkDevice* NetworkDeviceStore::registeredPeer() const {
  return networkDevices().empty() ? nullptr : &networkDevices().front();
}

bool NetworkDeviceStore::isPeerReachable() const {
  const auto* peer = registeredPeer();
  return peer && isReachable(*peer, mainQueue_.now());
}

bool NetworkDeviceStore::isReachable(const NetworkDevice& device, Date now) {
  return device.isActive && device.lastReachableAt && now - *device.lastReachableAt < peerReachabilityFreshness;
}

std::string NetworkDeviceStore::transportMode() const {
  return defaults_.string(settings::transportMode).value_or(std::string(settings::transportBluetooth));
}

Subscription NetworkDeviceStore::observeNetworkDevices(DevicesObserver observer) {
  return networkDevices_.observe(std::move(observer));
}

Subscription NetworkDeviceStore::observeDiscoveredNetworkDevices(DevicesObserver observer) {
  return discoveredNetworkDevices_.observe(std::move(observer));
}

bool NetworkDeviceStore::sendCommand(DeviceCommand command, Completion completion) {
  const auto* registered = registeredPeer();
  if (!registered) {
    logger.error("No peer device found");
    return false;
  }
  if (outboundCommandInFlight()) {
    logger.error("Peer command already in flight; dropping {}", rawValueOf(command));
    return false;
  }
  outboundCommand_ = command;
  outboundSince_ = mainQueue_.now();
  const auto peer = *registered;
  const auto completed =
      lifetime_.guard([this, id = peer.id, command, completion = std::move(completion)](const PeerReply& reply) {
        commandCompleted(id, command, reply);
        if (completion) completion(reply);
      });
  if (auto* transport = selectedTransport()) {
    transport->send(peer, command, completed);
  } else {
    logger.error("BLE central not available");
    auto complete = completed;
    complete(PeerReply::failed());
  }
  return true;
}

void NetworkDeviceStore::endOverdueCommand() {
  if (!outboundCommandInFlight() || mainQueue_.now() - outboundSince_ < peerProtocol::commandTimeout) return;
  for (auto* transport : {transports_.bluetooth, &transports_.bonjour})  // the choice may have changed since
    if (transport) transport->timeOutRequests();
}

void NetworkDeviceStore::commandCompleted(const std::string& peerId, DeviceCommand command, const PeerReply& reply) {
  outboundCommand_.reset();
  if (reply.succeeded())
    markReachability(peerId, true, true);
  else if (command != DeviceCommand::healthCheck)
    markReachability(peerId, false, true);
}

void NetworkDeviceStore::replyPleaseRelease(bool succeeded, ReplyChannel& channel) {
  logger.info("{}", succeeded ? "PLEASE_RELEASE: released successfully" : "PLEASE_RELEASE: release may have failed");
  channel.reply(succeeded ? DeviceCommand::operationSuccess : DeviceCommand::operationFailed);
}

void NetworkDeviceStore::registerPeer(const NetworkDevice& device) {
  const auto registered = device;  // may be an element of the list that is about to change
  const auto* before = registeredPeer();
  const auto replacesAnother = before && before->id != registered.id;
  networkDevices_ = std::vector{registered};
  forgetDiscovered(registered.id);
  save();
  if (replacesAnother) discoverAgain();  // the other one, so that it can be chosen again
}

/// Lists whoever is to be seen and is not the registered peer.
void NetworkDeviceStore::discoverAgain() {
  if (runningTransport_) runningTransport_->reportDiscoveredAgain();
  if (const auto* peer = registeredPeer()) forgetDiscovered(std::string(peer->id));
}

void NetworkDeviceStore::forgetDiscovered(const std::string& id) {
  auto discovered = discoveredNetworkDevices();
  std::erase_if(discovered, withId(id));
  discoveredNetworkDevices_ = std::move(discovered);
}

void NetworkDeviceStore::removePeer() {
  const auto* peer = registeredPeer();
  if (!peer) return;
  const auto id = peer->id;
  auto remaining = networkDevices();
  std::erase_if(remaining, withId(id));
  networkDevices_ = std::move(remaining);
  save();
  discoverAgain();  // so that it can be added again
}

void NetworkDeviceStore::setTransportMode(std::string_view mode) {
  stopTransport();
  defaults_.set(settings::transportMode, std::string(mode));
  forgetWhatWasSeen();
  save();
  startTransport();
}

void NetworkDeviceStore::forgetWhatWasSeen() {
  discoveredNetworkDevices_ = std::vector<NetworkDevice>{};
  auto devices = networkDevices();
  for (auto& device : devices) device.isActive = false;
  networkDevices_ = std::move(devices);
}

/// Not at once: a change may be told while the running transport is in the middle of a call, and setTransportMode()
/// causes changes before it has started the new one.
void NetworkDeviceStore::settingsChanged() {
  if (selectsBluetooth() != isBluetoothStarted_ || defaults_.string(settings::networkDevices) != stored_)
    settingsCheck_ = mainQueue_.after(Seconds(0), [this] { followSettings(); });
}

void NetworkDeviceStore::followSettings() {
  if (defaults_.string(settings::networkDevices) != stored_) followPeer();
  if (selectsBluetooth() != isBluetoothStarted_) followMode();
}

void NetworkDeviceStore::followPeer() {
  logger.info("The peer was changed in the settings");
  load();
  discoverAgain();  // who is no peer any more
}

void NetworkDeviceStore::followMode() {
  logger.info("The transport was changed in the settings");
  stopTransport();
  forgetWhatWasSeen();
  if (registeredPeer()) noteDown();
  startTransport();
}

void NetworkDeviceStore::peerTransportReceived(const std::string& text, std::shared_ptr<ReplyChannel> channel) {
  const auto command = deviceCommandFromRawValue(text);
  if (!command) {
    logger.error("Unknown command received");
    return;
  }
  if (const auto* peer = registeredPeer()) markReachability(std::string(peer->id), true, true);
  dispatch(*command, channel);
}

void NetworkDeviceStore::dispatch(DeviceCommand command, const std::shared_ptr<ReplyChannel>& channel) {
  switch (command) {
    case DeviceCommand::healthCheck:
      channel->reply(DeviceCommand::operationSuccess);
      break;
    case DeviceCommand::connected:
      logger.info("Received CONNECTED: peer grabbed trackpad");
      channel->reply(DeviceCommand::operationSuccess);
      handler_->handlePeerConnected();
      break;
    case DeviceCommand::released:
      logger.info("Received RELEASED: peer released trackpad");
      channel->reply(DeviceCommand::operationSuccess);
      handler_->handlePeerReleased();
      break;
    case DeviceCommand::pleaseRelease:
      logger.info("Received PLEASE_RELEASE: peer wants us to release");
      handler_->handlePleaseRelease(channel);
      break;
    case DeviceCommand::operationSuccess:
    case DeviceCommand::operationFailed:
      logger.error("Unhandled command: {}", rawValueOf(command));
      channel->reply(DeviceCommand::operationFailed);
      break;
  }
}

void NetworkDeviceStore::peerTransportDiscovered(const NetworkDevice& device) {
  auto discovered = discoveredNetworkDevices();
  const auto known = std::find_if(discovered.begin(), discovered.end(), withId(device.id));
  if (known != discovered.end()) {
    *known = device;
  } else {
    makeRoom(discovered);
    discovered.push_back(device);
  }
  discoveredNetworkDevices_ = std::move(discovered);
  refreshRegisteredAddress(device);
}

void NetworkDeviceStore::refreshRegisteredAddress(const NetworkDevice& found) {
  if (!found.host || !found.port) return;
  auto devices = networkDevices();
  const auto registered = std::find_if(devices.begin(), devices.end(), withId(found.id));
  if (registered == devices.end()) return;
  registered->host = found.host;
  registered->port = found.port;
  registered->lastUpdated = mainQueue_.now();
  networkDevices_ = std::move(devices);
  noteDown();
}

void NetworkDeviceStore::peerTransportLost(const std::string& id) {
  markReachability(id, false, true);
}

void NetworkDeviceStore::load() {
  stored_ = defaults_.string(settings::networkDevices);
  auto decoded = decodeNetworkDevices(stored_.value_or("[]"));
  if (const auto* error = std::get_if<NetworkDevicesError>(&decoded)) {
    logger.error("Failed to load network devices: {}", error->description);
    decoded = std::vector<NetworkDevice>{};  // so that what somebody may yet mend is not overwritten
  }
  networkDevices_ = std::get<std::vector<NetworkDevice>>(std::move(decoded));
}

void NetworkDeviceStore::save() {
  if (const auto encoded = encodedDevices()) defaults_.set(settings::networkDevices, *encoded);
}

void NetworkDeviceStore::noteDown() {
  if (const auto encoded = encodedDevices()) defaults_.note(settings::networkDevices, *encoded);
}

void NetworkDeviceStore::noteDownEventually() {
  if (const auto encoded = encodedDevices()) defaults_.noteEventually(settings::networkDevices, *encoded);
}

std::optional<std::string> NetworkDeviceStore::encodedDevices() {
  auto encoded = encodeNetworkDevices(networkDevices());
  if (encoded)
    stored_ = encoded;
  else
    logger.error("Failed to save network devices: {}", "a text is not UTF-8");
  return encoded;
}

bool NetworkDeviceStore::selectsBluetooth() const {
  return transportMode() == settings::transportBluetooth;
}

PeerTransport* NetworkDeviceStore::selectedTransport() const {
  return selectsBluetooth() ? transports_.bluetooth : &transports_.bonjour;
}

void NetworkDeviceStore::startTransport() {
  isBluetoothStarted_ = selectsBluetooth();
  if (isBluetoothStarted_) logger.info("Starting BLE transport");
  runningTransport_ = selectedTransport();
  if (runningTransport_) runningTransport_->start(*this);
}

void NetworkDeviceStore::stopTransport() {
  if (auto* transport = std::exchange(runningTransport_, nullptr)) transport->stop();
}

void NetworkDeviceStore::scheduleHealthCheck(Seconds delay) {
  peerHealthTimer_ = mainQueue_.after(delay, [this] {
    scheduleHealthCheck(peerHealthInterval);
    checkHealth();
  });
}

void NetworkDeviceStore::checkHealth() {
  if (!registeredPeer() || peerHealthCheckInFlight_ || outboundCommandInFlight()) return;
  peerHealthCheckInFlight_ = true;
  const auto accepted = sendCommand(DeviceCommand::healthCheck,
                                    lifetime_.guard([this](const PeerReply&) { peerHealthCheckInFlight_ = false; }));
  if (!accepted) peerHealthCheckInFlight_ = false;
}

void NetworkDeviceStore::markReachability(const std::string& id, bool reachable, bool persist) {
  const auto now = mainQueue_.now();
  const auto mark = [&](Published<std::vector<NetworkDevice>>& list) -> std::optional<NetworkDevice> {
    auto devices = list.value();
    const auto found = std::find_if(devices.begin(), devices.end(), withId(id));
    if (found == devices.end()) return std::nullopt;
    const auto before = *found;
    setReachability(*found, reachable, now);
    list = std::move(devices);
    return before;
  };
  const auto before = mark(networkDevices_);
  if (before && persist) isNews(*before, reachable, now) ? noteDown() : noteDownEventually();
  mark(discoveredNetworkDevices_);
}

}  // namespace zolvex
