#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "core/UserDefaults.h"
#include "ownership/DeviceManager.h"
#include "ui/HotKeyState.h"
#include "ui/HotKeys.h"

namespace zolvex {

/// The hot key that brings the popover up and takes the devices, wherever the keyboard is.
/// It follows the setting "globalHotkeyEnabled" while it runs: each change of any setting applies it again, which also
/// is how a registration that failed is tried again. Registered at most once at a time; whatever goes wrong is logged
/// and leaves the program without a hot key.
/// Owned by the application, after everything that it uses. Main thread.
class GlobalHotKey {
 public:
  struct Collaborators {
    MainQueue& mainQueue;
    UserDefaults& defaults;
    HotKeys& hotKeys;
    DeviceManager& deviceManager;
  };

  explicit GlobalHotKey(const Collaborators& collaborators);
  ~GlobalHotKey() { stop(); }
  GlobalHotKey(const GlobalHotKey&) = delete;

  /// Observes the settings and applies the current one. Once, when the popover can be shown.
  void start();

  /// Unregisters the hot key, removes its handler and ends the observation of the settings.
  void stop();

  /// The hot key has been pressed, and the popover is to be shown before the devices are taken.
  Signal<> popoverRequested;

  HotKeyState state() const { return *state_; }
  [[nodiscard]] Subscription observeState(std::function<void(const HotKeyState&)> observer) {
    return state_.observe(std::move(observer));
  }

 private:
  enum class HotKeyRef { none, asked, failed, registered };

  void applySetting();
  void registerHotKey();
  bool installHandler();
  void registrationEnded(const HotKeys::Outcome& outcome);
  void handle(const HotKeyIdentifier& pressed);
  void performAction();
  void hotKeyLost();
  void unregisterHotKey();
  void removeHandler();

  const Collaborators use_;
  HotKeyRef hotKeyRef_ = HotKeyRef::none;
  bool hotKeyHandler_ = false;  // is installed
  Published<HotKeyState> state_{HotKeyState::off};
  Subscription loss_;
  Subscription defaultsObserver_;
  Lifetime lifetime_;
};

}  // namespace zolvex
