#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/Published.h"
#include "core/UserDefaults.h"
#include "peer/NetworkDevice.h"
#include "peer/PeerCommandHandler.h"
#include "peer/PeerTransport.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zolvex {

/// The one object through which this computer knows and talks to the other. It keeps the registered peer (persisted)
/// and the peers seen now, owns the choice of the transport, sends one command at a time, checks the peer's health,
/// and turns received commands into calls on the PeerCommandHandler. It decides nothing about devices. A transport
/// mode or peer that is changed in the settings, by whomever, is in effect as after a call here.
/// One instance for the whole run. Main thread.
class NetworkDeviceStore final : private PeerTransportDelegate {
 public:
  using Completion = PeerTransport::Completion;

  static constexpr Seconds peerReachabilityFreshness{45.0};
  static constexpr Seconds peerHealthInterval{15.0};
  static constexpr Seconds firstHealthCheckDelay{3.0};
  static constexpr std::size_t maximumDiscovered = 256;  ///< Anybody can announce any number, one after another.

  /// `bluetooth` may be null: this build or computer has no Bluetooth LE link. The transports must outlive the store.
  struct Transports {
    PeerTransport* bluetooth = nullptr;
    PeerTransport& bonjour;
  };

  /// Passive until start().
  NetworkDeviceStore(MainQueue& mainQueue, UserDefaults& defaults, Transports transports);
  ~NetworkDeviceStore() override;

  /// Loads the registered peer, starts the chosen transport and the health checks. Called once, when the handler
  /// exists.
  void start(PeerCommandHandler& handler);

  /// The registered peer is the first element; an empty list means that there is none.
  const std::vector<NetworkDevice>& networkDevices() const { return networkDevices_.value(); }
  const NetworkDevice* registeredPeer() const;
  const std::vector<NetworkDevice>& discoveredNetworkDevices() const { return discoveredNetworkDevices_.value(); }
  bool isPeerReachable() const;

  /// Whether a computer counts as reachable at `now`: active, and heard of less than 45 s ago.
  static bool isReachable(const NetworkDevice& device, Date now);

  /// The command that is under way to the peer.
  std::optional<DeviceCommand> outboundCommand() const { return outboundCommand_; }
  bool outboundCommandInFlight() const { return outboundCommand_.has_value(); }
  std::string transportMode() const;

  using DevicesObserver = std::function<void(const std::vector<NetworkDevice>&)>;
  [[nodiscard]] Subscription observeNetworkDevices(DevicesObserver observer);
  [[nodiscard]] Subscription observeDiscoveredNetworkDevices(DevicesObserver observer);

  /// Sends `command` to the registered peer. Returns whether it was accepted; without a registered peer, or while
  /// another command is under way, it is dropped and `completion` never runs. Otherwise `completion` runs exactly
  /// once, possibly before this returns.
  bool sendCommand(DeviceCommand command, Completion completion);

  /// To be called after the computer slept: a command whose time passed meanwhile ends as timed out. Its own time-out
  /// has stood still, and until then no other command could be sent.
  void endOverdueCommand();

  /// Answers a received release request when the release has ended.
  void replyPleaseRelease(bool succeeded, ReplyChannel& channel);

  void registerPeer(const NetworkDevice& device);
  void removePeer();
  void setTransportMode(std::string_view mode);

 private:
  void peerTransportReceived(const std::string& text, std::shared_ptr<ReplyChannel> channel) override;
  void peerTransportDiscovered(const NetworkDevice& device) override;
  void peerTransportLost(const std::string& id) override;

  void load();
  void save();      // what the user changed
  void noteDown();  // what was learnt of the peer
  void noteDownEventually();
  std::optional<std::string> encodedDevices();
  void startTransport();
  void stopTransport();
  bool selectsBluetooth() const;
  PeerTransport* selectedTransport() const;
  void settingsChanged();
  void followSettings();
  void followPeer();
  void followMode();
  void forgetWhatWasSeen();
  void discoverAgain();
  void forgetDiscovered(const std::string& id);
  void scheduleHealthCheck(Seconds delay);
  void checkHealth();
  void dispatch(DeviceCommand command, const std::shared_ptr<ReplyChannel>& channel);
  void commandCompleted(const std::string& peerId, DeviceCommand command, const PeerReply& reply);
  void markReachability(const std::string& id, bool reachable, bool persist);
  void refreshRegisteredAddress(const NetworkDevice& found);

  MainQueue& mainQueue_;
  UserDefaults& defaults_;
  Transports transports_;
  PeerCommandHandler* handler_ = nullptr;
  PeerTransport* runningTransport_ = nullptr;
  bool isBluetoothStarted_ = false;  // also where there is no Bluetooth LE link to start
  Subscription settings_;
  WorkItem settingsCheck_;
  std::optional<std::string> stored_;  // the peer in the settings, as last read or written here
  Published<std::vector<NetworkDevice>> networkDevices_;
  Published<std::vector<NetworkDevice>> discoveredNetworkDevices_;
  WorkItem peerHealthTimer_;
  bool peerHealthCheckInFlight_ = false;
  std::optional<DeviceCommand> outboundCommand_;
  Date outboundSince_ = distantPast;
  Lifetime lifetime_;
};

}  // namespace zolvex
