#include "platform/linux/uninstall/HomeTraces.h"

#include "platform/linux/ConfigDirectory.h"
#include "platform/linux/UserUnit.h"

#include <fmt/core.h>

#include <system_error>

namespace zolvex {

namespace {

namespace fs = std::filesystem;

bool isOurs(const fs::path& file) {
  const auto name = file.filename().string();
  return name.starts_with("settings.json") || name == "instance.lock";
}

/// The folder that the link leads to may have more in it than ours.
void removeOursBehind(const fs::path& link) {
  std::error_code error;
  const auto folder = fs::canonical(link, error);
  std::vector<fs::path> files;
  for (fs::directory_iterator next(folder, error), end; !error && next != end; next.increment(error))
    if (isOurs(next->path())) files.push_back(next->path());
  for (const auto& file : files) fs::remove(file, error);
  fs::remove(folder, error);  // if it is empty
}

std::optional<std::string> removeAll(const fs::path& folder) {
  std::error_code error;
  if (fs::is_symlink(fs::symlink_status(folder, error))) removeOursBehind(folder);
  error.clear();
  fs::remove_all(folder, error);
  if (!error) return std::nullopt;
  return fmt::format("cannot remove {}: {}", folder.string(), error.message());
}

}  // namespace

HomeTraces HomeTraces::standard() {
  const fs::path config = userConfigHome();
  const auto units = config / "systemd/user";
  return {
      .own = {configDirectory(), userFolder("XDG_STATE_HOME", ".local/state") + "/zolvex",
              userFolder("XDG_CACHE_HOME", ".cache") + "/zolvex"},
      .shared = {units / (std::string(UserUnit::target) + ".wants"), units, units.parent_path(), config / "autostart"}};
}

std::optional<std::string> HomeTraces::remove() const {
  std::optional<std::string> failure;
  for (const auto& folder : own)
    if (auto next = removeAll(folder)) failure = failure ? *failure + "; " + *next : *next;
  std::error_code ignored;
  for (const auto& folder : shared)
    if (fs::is_directory(fs::symlink_status(folder, ignored))) fs::remove(folder, ignored);
  return failure;
}

}  // namespace zolvex
