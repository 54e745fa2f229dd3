#pragma once

#include "bluetooth/BluetoothPeripheralStore.h"
#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/Published.h"
#include "core/UserDefaults.h"
#include "ownership/DeviceOwnershipState.h"
#include "ownership/OwnershipNotifier.h"
#include "peer/NetworkDeviceStore.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zolvex {

/// Decides whether the managed devices belong to this computer or to the other, and moves them.
/// A connect flow: begin, ask the peer to let go, have every device connected here, fall back to a second pass when
/// none came up, publish the outcome, tell the user and the peer. A release flow: begin, have every pairing removed,
/// publish, tell the peer. Every flow captures `switchToken` when it begins; a step whose token is no longer current
/// does nothing, so starting, cancelling or reconciling silently retires what came before.
/// The only writer of ownership state; one instance; main thread.
class DeviceManager final : public PeerCommandHandler {
 public:
  using ConnectionStatus = BluetoothPeripheralStore::ConnectionStatus;
  using Completion = std::function<void()>;

  static constexpr Seconds connectPollInterval{0.25};
  static constexpr int connectPollLimit = 24;

  struct Collaborators {
    MainQueue& mainQueue;
    UserDefaults& defaults;
    BluetoothPeripheralStore& bluetoothStore;
    NetworkDeviceStore& networkStore;
    OwnershipNotifier& notifier;
  };

  explicit DeviceManager(Collaborators collaborators);

  /// Asks the peer to let the devices go, then connects them here. With `connectMissing`, also while some are here.
  /// `completion` runs when the flow has reached its final outcome; never when it was cancelled or superseded.
  void connectToThisMac(bool connectMissing, Completion completion = {});

  /// The same without asking the peer ("quick connect").
  void forceConnect(bool connectMissing, Completion completion = {});

  /// Lets the devices go by removing their pairings here.
  void releaseDevices();

  /// Abandons the running flow; what its workers still do changes no state.
  void cancelCurrentOperation();

  /// Called when the state is about to be looked at.
  void refreshFromLiveState();

  /// The global hot key: takes the devices, never gives them up.
  void handleHotKey();

  /// Called after the list of managed devices was changed.
  void devicesConfigured();

  void handlePeerConnected() override;
  void handlePeerReleased() override;
  void handlePleaseRelease(std::shared_ptr<ReplyChannel> channel) override;

  bool isSwitching() const { return isSwitching_.value(); }
  const std::string& lastResult() const { return lastResult_.value(); }
  DeviceOwnershipState ownershipState() const { return ownershipState_.value(); }
  std::optional<SwitchOperation> currentOperation() const { return currentOperation_; }
  std::int64_t switchToken() const { return switchToken_; }

  [[nodiscard]] Subscription observeIsSwitching(std::function<void(const bool&)> observer);
  [[nodiscard]] Subscription observeLastResult(std::function<void(const std::string&)> observer);
  [[nodiscard]] Subscription observeOwnershipState(std::function<void(const DeviceOwnershipState&)> observer);

 private:
  struct ConnectFlow;
  struct ConnectPass;
  struct Release;

  // Primitives of every flow.
  void beginOperation(std::string status, SwitchOperation operation, DeviceOwnershipState state);
  void retireFlow();
  void endOperation();
  void applyConnectionSummary(ConnectionStatus status, bool keepOtherMac);
  void reconcileWithLiveState(ConnectionStatus status);
  void showNoDevicesConfigured();
  bool isCurrent(std::int64_t token) const { return isSwitching() && switchToken_ == token; }
  template <class Step>
  auto whileCurrent(Step step);

  // The connect flow, in the order of its steps.
  bool beginConnect(bool connectMissing, std::string statusWhenNothingIsHere);
  static bool isNothingToConnect(ConnectionStatus status, bool connectMissing);
  void askPeerToRelease(const ConnectFlow& flow);
  void peerAnswered(const ConnectFlow& flow, bool released);
  void startPass(const ConnectFlow& flow);
  void submitConnects(const std::shared_ptr<ConnectPass>& pass);
  void watchForConnection(const std::shared_ptr<ConnectPass>& pass, int checksLeft);
  void finishPass(ConnectPass& pass);
  void announceConnected(const ConnectFlow& flow);
  void finishWithNothingConnected(const ConnectFlow& flow);
  void fallBackToQuickConnect(ConnectFlow flow);

  // The release flow, in the order of its steps.
  void beginRelease(std::shared_ptr<ReplyChannel> channel);
  void removeAllPairings(const std::shared_ptr<Release>& release);
  void finishRelease(const Release& release);

  Collaborators use_;
  Published<bool> isSwitching_;
  Published<std::string> lastResult_;
  Published<DeviceOwnershipState> ownershipState_{DeviceOwnershipState::unknown};
  std::optional<SwitchOperation> currentOperation_;
  std::int64_t switchToken_ = 0;
  WorkItem connectPoll_;
  Lifetime lifetime_;
};

}  // namespace zolvex
