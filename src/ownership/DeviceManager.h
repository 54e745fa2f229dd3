#pragma once

#include "bluetooth/BluetoothPeripheralStore.h"
#include "core/DelayedWork.h"
#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/Published.h"
#include "core/UserDefaults.h"
#include "ownership/DeviceManagerTuning.h"
#include "ownership/DeviceOwnershipState.h"
#include "ownership/DisplayWaker.h"
#include "ownership/OwnershipNotifier.h"
#include "ownership/SessionEvents.h"
#include "peer/NetworkDeviceStore.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zolvex {

/// Decides whether the managed devices belong to this computer or to the other, and moves them.
/// A connect flow asks the peer to let go, has every device connected here, falls back to a second pass when none came
/// up, publishes the outcome, tells the user and the peer. A release flow has every pairing removed, publishes, tells
/// the peer. A flow captures `switchToken` when it begins; a step whose token is no longer current does nothing.
/// Both also start without a click: the devices come when the user starts, wakes or unlocks this computer, and go
/// when it sleeps, is locked, its display sleeps, or after some hours. What stops such a start is only logged.
/// The only writer of ownership state; one instance; main thread.
class DeviceManager final : public DeviceManagerTuning, public PeerCommandHandler {
 public:
  using ConnectionStatus = BluetoothPeripheralStore::ConnectionStatus;
  using Completion = std::function<void()>;

  struct Collaborators {
    MainQueue& mainQueue;
    UserDefaults& defaults;
    BluetoothPeripheralStore& bluetoothStore;
    NetworkDeviceStore& networkStore;
    OwnershipNotifier& notifier;
    SessionEvents& sessionEvents;
    DisplayWaker& displayWaker;
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
  void publishRelease(bool succeeded);

  // Automatic connect, in the order of its steps.
  bool isAutoConnectEnabled() const;
  void startObservers();
  void handleWake(const std::string& reason);
  void handleUnlock();
  void evaluateAutoConnect(const AutoConnectAttempt& attempt);
  bool mayAutoConnect(const AutoConnectAttempt& attempt) const;
  void settle(const AutoConnectAttempt& attempt, int checksLeft);
  void decideAutoConnect(const AutoConnectAttempt& attempt, ConnectionStatus status);
  void autoConnect(const AutoConnectAttempt& attempt, ConnectionStatus status);
  void retryAutoConnect(const AutoConnectAttempt& attempt);
  void wakeDisplay();

  // Automatic release. `inactive`: the user has left; the settings decide whether that counts.
  void scheduleInactiveRelease(const std::string& reason);
  void releaseForAutomation(const std::string& reason, bool inactive);
  void startAutoReleaseTimer();

  Collaborators use_;
  Published<bool> isSwitching_;
  Published<std::string> lastResult_;
  Published<DeviceOwnershipState> ownershipState_{DeviceOwnershipState::unknown};
  std::optional<SwitchOperation> currentOperation_;
  std::int64_t switchToken_ = 0;
  WorkItem connectPoll_, autoReleaseTimer_, autoConnectRetryWorkItem_, pendingInactiveReleaseWorkItem_;
  Date lastAutoConnectAttempt_ = distantPast;
  DelayedWork evaluations_;  ///< Of automatic connect, on their way to a decision.
  Subscription screenLockedObserver_, screenSleepObserver_, screenWakeObserver_;
  Subscription screenUnlockObserver_, systemSleepObserver_, systemWakeObserver_;
  Lifetime lifetime_;
};

}  // namespace zolvex
