#include "platform/linux/uninstall/LinuxUninstall.h"

#include "core/AppIdentity.h"
#include "platform/linux/AtomicFile.h"
#include "platform/linux/ConfigDirectory.h"

#include <QFile>
#include <fmt/core.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace zolvex {

namespace {

/// Where Qt cannot make the trash itself, it moves files to wherever this process happens to stand.
FileFailure provideTrash() {
  const auto trash = userFolder("XDG_DATA_HOME", ".local/share") + "/Trash";
  if (auto failure = makeDirectories(trash)) return failure;
  std::error_code ignored;
  return std::filesystem::is_directory(trash, ignored) ? std::nullopt : FileFailure(trash + " is no directory");
}

}  // namespace

LinuxUninstall::LinuxUninstall(Installation installation, HomeTraces traces, BusLink& sessionBus,
                               std::function<void()> quit)
    : installation_(std::move(installation)),
      traces_(std::move(traces)),
      permissions_(sessionBus),
      quit_(std::move(quit)) {}

std::optional<std::string> LinuxUninstall::bundleIdentifier() const {
  return std::string(applicationId);
}

UninstallSystem::Failure LinuxUninstall::removeState(const std::string&) {
  return traces_.remove();
}

void LinuxUninstall::resetPermissions(const std::string& identifier) {
  permissions_.start(identifier);
}

void LinuxUninstall::recycle(std::function<void(const Recycled&)> done) {
  Recycled result{moveToTrash(), installation_.leftToDo};
  permissions_.whenSettled([done = std::move(done), result = std::move(result)] { done(result); });
}

UninstallSystem::Failure LinuxUninstall::moveToTrash() const {
  if (installation_.files.empty()) return std::nullopt;
  auto failure = provideTrash();
  if (failure) return failure;
  for (const auto& path : installation_.files) {
    QFile file(QString::fromStdString(path.string()));
    if (!file.moveToTrash())
      failure = fmt::format("cannot move {} to the trash: {}", path.string(), file.errorString().toStdString());
    else if (installation_.kind == Installation::Kind::ofUser)
      removeEmptyDirectories(path.parent_path(), installation_.prefix);
  }
  std::error_code ignored;
  if (!std::filesystem::equivalent(installation_.prefix, homeDirectory(), ignored) && !installation_.prefix.empty())
    std::filesystem::remove(installation_.prefix, ignored);  // if it is empty
  return failure;
}

}  // namespace zolvex
