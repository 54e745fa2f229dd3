#include "ui/Uninstaller.h"

#include "core/Log.h"
#include "core/Uuid.h"

#include <utility>

namespace zolvex {

namespace {

constexpr Logger logger("Uninstall");
constexpr auto unnamedApplication = "quenmar.zolvex.app.macos";

void note(std::string_view step, const std::optional<std::string>& failure) {
  failure ? logger.error("Uninstall: {} failed: {}", step, *failure) : logger.info("Uninstall: {} done", step);
}

}  // namespace

void Uninstaller::uninstall() {
  if (std::exchange(isRunning_, true)) return;
  logger.info("Uninstall: starting");
  removeEverything(use_.system.bundleIdentifier().value_or(unnamedApplication));
  recycle();
}

void Uninstaller::removeEverything(const std::string& identifier) {
  note("launch at login", use_.launchAtLogin.disable());
  note("settings", use_.defaults.removePersistentDomain());
  note("state", use_.system.removeState(identifier));
  use_.system.resetPermissions(identifier);
}

void Uninstaller::recycle() {
  limit_ = use_.mainQueue.after(recycleLimit, [this] { recycled({.failure = "it takes too long"}); });
  use_.system.recycle(lifetime_.guard([this](const UninstallSystem::Recycled& result) { recycled(result); }));
}

void Uninstaller::recycled(const UninstallSystem::Recycled& result) {
  if (std::exchange(isRecycled_, true)) return;
  note("application", result.failure);
  result.leftToDo.empty() ? terminate() : tell(result.leftToDo);
}

void Uninstaller::tell(const std::string& leftToDo) {
  logger.info("Uninstall: {}", leftToDo);
  limit_ = use_.mainQueue.after(tellLimit, [this] { terminate(); });
  const auto told = lifetime_.guard([this] { terminate(); });
  use_.notifications.post(
      "zolvex." + randomUuid(), leftToDo,
      [&mainQueue = use_.mainQueue, told](const NotificationCenter::Error&) { mainQueue.async(told); });
}

void Uninstaller::terminate() {
  if (std::exchange(isTerminating_, true)) return;
  limit_.cancel();
  use_.system.terminate();
}

}  // namespace zolvex
