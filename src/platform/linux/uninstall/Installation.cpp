#include "platform/linux/uninstall/Installation.h"

#include "core/AppIdentity.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>

namespace zolvex {

namespace {

namespace fs = std::filesystem;

bool isThere(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

std::vector<fs::path> entriesOf(const fs::path& directory) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (fs::directory_iterator next(directory, error), end; !error && next != end; next.increment(error))
    entries.push_back(next->path());
  return entries;
}

/// Everything at or below `directory`, down to `depth` levels, that is named after the application.
void collectNamed(const fs::path& directory, int depth, std::vector<fs::path>& found) {
  for (const auto& entry : entriesOf(directory)) {
    std::error_code ignored;
    if (entry.filename().string().starts_with(applicationId))
      found.push_back(entry);
    else if (depth > 0 && fs::is_directory(fs::symlink_status(entry, ignored)))
      collectNamed(entry, depth - 1, found);
  }
}

/// What the installation puts below its prefix.
std::vector<fs::path> installedFiles(const fs::path& prefix) {
  std::vector<fs::path> files;
  for (const auto* path : {"bin/zolvex", "bin/zolvexctl", "bin/zolvex-lab", "lib/zolvex", "lib64/zolvex",
                           "lib/systemd/user/zolvex.service", "share/zolvex", "share/doc/zolvex"})
    if (isThere(prefix / path)) files.push_back(prefix / path);
  constexpr int iconSizesAndKinds = 3;
  for (const auto* path :
       {"share/applications", "share/dbus-1/interfaces", "share/dbus-1/services", "share/metainfo", "share/icons"})
    collectNamed(prefix / path, iconSizesAndKinds, files);
  return files;
}

/// `path` is free of links, as the system tells where a program is.
bool isBelow(const fs::path& path, const fs::path& folder) {
  std::error_code ignored;
  auto normal = fs::weakly_canonical(folder, ignored);
  if (!normal.has_filename()) normal = normal.parent_path();
  return std::mismatch(normal.begin(), normal.end(), path.begin(), path.end()).first == normal.end();
}

/// A package manager that knows a package of ours by these files, and how it removes that.
struct PackageManager {
  std::string_view database;
  std::string_view package;  ///< How the name of our entry in it begins; empty where the database cannot be read so.
  std::string_view program;
  std::string_view command;
};
constexpr std::array packageManagers{
    PackageManager{"var/lib/dpkg/info", "zolvex.list", "usr/bin/apt", "sudo apt remove zolvex"},
    PackageManager{"var/lib/pacman/local", "zolvex-", "usr/bin/pacman", "sudo pacman -R zolvex"},
    PackageManager{"usr/lib/sysimage/rpm", "", "usr/bin/dnf", "sudo dnf remove zolvex"},
    PackageManager{"var/lib/rpm", "", "usr/bin/dnf", "sudo dnf remove zolvex"},
    PackageManager{"usr/lib/sysimage/rpm", "", "usr/bin/zypper", "sudo zypper remove zolvex"},
    PackageManager{"var/lib/rpm", "", "usr/bin/zypper", "sudo zypper remove zolvex"},
};

bool knowsUs(const PackageManager& manager, const fs::path& root) {
  if (!isThere(root / manager.program)) return false;
  if (manager.package.empty()) return isThere(root / manager.database);
  const auto entries = entriesOf(root / manager.database);
  return std::any_of(entries.begin(), entries.end(),
                     [&](const fs::path& entry) { return entry.filename().string().starts_with(manager.package); });
}

/// The command that removes the package, where the program lies in the folder that packages install to.
std::string packageCommand(const fs::path& program, const fs::path& root) {
  if (isThere(root / ".flatpak-info")) return fmt::format("flatpak uninstall {}", applicationId);
  if (!isBelow(program, root / "usr") || isBelow(program, root / "usr/local")) return {};
  for (const auto& manager : packageManagers)
    if (knowsUs(manager, root)) return std::string(manager.command);
  return {};
}

Installation leftInPlace(Installation::Kind kind, const std::string& how) {
  return {.kind = kind, .leftToDo = "Zolvex itself is still installed. " + how};
}

}  // namespace

Installation Installation::find(const Places& places) {
  if (!places.program) return leftInPlace(Kind::unknown, "Remove it the way it was installed.");
  const fs::path program = *places.program;
  if (places.started && *places.started != *places.program) return {.kind = Kind::image, .files = {*places.started}};
  if (const auto command = packageCommand(program, places.root); !command.empty())
    return leftInPlace(Kind::packaged, "To remove it: " + command);
  const auto folder = program.parent_path();
  if (folder.filename() == "bin" && isBelow(folder, places.home) && folder != places.home)
    return {.kind = Kind::ofUser, .files = installedFiles(folder.parent_path()), .prefix = folder.parent_path()};
  return leftInPlace(Kind::unknown, fmt::format("Remove {} the way it was installed.", program.string()));
}

}  // namespace zolvex
