#include "ui/GlobalHotKey.h"

#include "core/Log.h"
#include "core/SettingsKeys.h"

namespace zolvex {

namespace {

constexpr Logger logger("HotKey");

const HotKeyIdentifier identifier{"ZLVX", 1};

/// Control Option D.
const HotKey controlOptionD{identifier, 'd', true, true};

}  // namespace

GlobalHotKey::GlobalHotKey(const Collaborators& collaborators) : use_(collaborators) {}

void GlobalHotKey::start() {
  loss_ = use_.hotKeys.lost.observe([this] { hotKeyLost(); });
  defaultsObserver_ = use_.defaults.changed.observe([this] { applySetting(); });
  applySetting();
}

void GlobalHotKey::stop() {
  unregisterHotKey();
  removeHandler();
  defaultsObserver_.cancel();
  loss_.cancel();
}

void GlobalHotKey::applySetting() {
  if (use_.defaults.boolean(settings::globalHotkeyEnabled).value_or(true)) return registerHotKey();
  unregisterHotKey();
  removeHandler();
  if (state() != HotKeyState::off) state_ = HotKeyState::off;
}

void GlobalHotKey::registerHotKey() {
  if (hotKeyRef_ == HotKeyRef::asked || hotKeyRef_ == HotKeyRef::registered) return;
  if (!installHandler()) return;
  // What the last attempt came to is shown until this one has ended.
  if (hotKeyRef_ == HotKeyRef::none) state_ = HotKeyState::waiting;
  hotKeyRef_ = HotKeyRef::asked;
  use_.hotKeys.registerHotKey(controlOptionD, lifetime_.guard([this](const HotKeys::Outcome& outcome) {
    if (hotKeyRef_ == HotKeyRef::asked) registrationEnded(outcome);
  }));
}

bool GlobalHotKey::installHandler() {
  const auto status =
      use_.hotKeys.installHandler(lifetime_.guard([this](const HotKeyIdentifier& pressed) { handle(pressed); }));
  hotKeyHandler_ = status == HotKeys::noError;
  if (hotKeyHandler_) return true;
  logger.error("Global hotkey handler failed: {}", status);
  state_ = HotKeyState::refused;
  return false;
}

void GlobalHotKey::registrationEnded(const HotKeys::Outcome& outcome) {
  if (outcome.status == HotKeys::noError) {
    hotKeyRef_ = HotKeyRef::registered;
    logger.info("Global hotkey registered");
    state_ = HotKeyState::registered;
    return;
  }
  logger.error("Global hotkey registration failed: {}", outcome.status);
  hotKeyRef_ = HotKeyRef::failed;
  removeHandler();
  state_ = outcome.isHeldByAnother ? HotKeyState::heldByAnother : HotKeyState::refused;
}

void GlobalHotKey::handle(const HotKeyIdentifier& pressed) {
  if (pressed == identifier) use_.mainQueue.async(lifetime_.guard([this] { performAction(); }));
}

void GlobalHotKey::performAction() {
  popoverRequested.emit();
  use_.deviceManager.handleHotKey();
}

void GlobalHotKey::hotKeyLost() {
  if (hotKeyRef_ != HotKeyRef::registered) return;
  hotKeyRef_ = HotKeyRef::none;
  removeHandler();
  applySetting();
}

void GlobalHotKey::unregisterHotKey() {
  if (hotKeyRef_ == HotKeyRef::none) return;
  hotKeyRef_ = HotKeyRef::none;
  use_.hotKeys.unregisterHotKey();
}

void GlobalHotKey::removeHandler() {
  if (hotKeyHandler_) use_.hotKeys.removeHandler();
  hotKeyHandler_ = false;
}

}  // namespace zolvex
